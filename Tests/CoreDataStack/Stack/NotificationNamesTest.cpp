#include <gtest/gtest.h>

#include "CoreDataStack/CoreDataMigrator+Notifications.h"
#include "CoreDataStack/Stack/CoreDataNotificationName.h"

namespace {

using coredatastack::CoreDataMigratorNotificationName;
using coredatastack::CoreDataNotificationName;
using foundation::NSNotificationName;

TEST(NotificationNames, AreThoseThatTheApplicationListensFor) {
  EXPECT_EQ(CoreDataNotificationName::CoreDataDidUpdate.text(), "CoreData.didUpdate");
  EXPECT_EQ(CoreDataNotificationName::CoreDataErrorOccured.text(), "CoreData.errorOccured");
  EXPECT_EQ(CoreDataNotificationName::SettingsExpandedHoursDidUPdate.text(),
            "Settings.didUpdateExpandedHours");
  EXPECT_EQ(CoreDataNotificationName::AppearanceDidChange.text(), "Appearance.didChange");
  EXPECT_EQ(CoreDataNotificationName::NSPersistentHistoryDidMerge.text(),
            "NSPersistentHistory.merged");
  EXPECT_EQ(CoreDataMigratorNotificationName::coreDataMigratorStarted.text(),
            "CoreDataMigrator.started");
  EXPECT_EQ(CoreDataMigratorNotificationName::coreDataMigratorFinished.text(),
            "CoreDataMigrator.finished");
}

TEST(NotificationNames, EqualThoseThatOthersMakeFromTheSameText) {
  EXPECT_EQ(CoreDataMigratorNotificationName::coreDataMigratorStarted,
            NSNotificationName::named("CoreDataMigrator.started"));
}

}  // namespace
