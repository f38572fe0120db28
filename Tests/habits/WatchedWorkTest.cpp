#include "Tools/habits/Migration/WatchedWork.h"

#include <gtest/gtest.h>
#include <signal.h>

#include "CoreDataStack/CoreDataMigrator.h"
#include "CoreDataStack/NSPersistentStoreCoordinator+Migration.h"
#include "Foundation/Progress/Progress.h"
#include "Tests/Support/MigrationPlace.h"
#include "Tools/habits/Failures.h"
#include "Tools/habits/Migration/Interruption.h"

namespace habits {
namespace {

using Version = coredatastack::CoreDataMigrationVersion;

TEST(HabitsWatchedWork, StopsAMigrationWhenTheUserWantsIt) {
  const support::MigrationPlace place;
  support::edit(place.storeURL(), Version::version1, [](auto& context) {
    context.insertNewObject("Activity")->setValue("Run", "title");
  });
  const Interruption interruption;

  EXPECT_THROW(doWatched("Migrating",
                         [&] {
                           raise(SIGINT);
                           coredatastack::CoreDataMigrator().migrateStore(place.storeURL(),
                                                                          Version::newest());
                         }),
               Refusal);

  EXPECT_EQ(Version::storeVersion(*coredatastack::storeMetadata(place.storeURL())),
            Version::version1);
}

TEST(HabitsWatchedWork, HandsErrorsOn) {
  const Interruption interruption;

  EXPECT_THROW(doWatched("Working", [] { throw foundation::Error("work", 1, "It failed."); }),
               foundation::Error);
}

TEST(HabitsInterruption, IsForgottenByTheNextWork) {
  {
    const Interruption first;
    EXPECT_FALSE(Interruption::isWanted());
    raise(SIGTERM);
    EXPECT_TRUE(Interruption::isWanted());
    EXPECT_THROW(Interruption::stopIfWanted(), Refusal);
  }
  const Interruption second;
  EXPECT_FALSE(Interruption::isWanted());
}

TEST(HabitsInterruption, EndsTheProgramTheSecondTime) {
  EXPECT_EXIT(
      {
        const Interruption interruption;
        raise(SIGINT);
        raise(SIGINT);
      },
      testing::KilledBySignal(SIGINT), "");
}

TEST(HabitsInterruption, LeavesIgnoredSignalsIgnored) {
  EXPECT_EXIT(
      {
        signal(SIGHUP, SIG_IGN);
        const Interruption interruption;
        raise(SIGHUP);
        exit(Interruption::isWanted() ? 1 : 0);
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace habits
