#include "CoreDataStack/History/PersistentHistoryCleaner.h"

#include "CoreData/SQLite/StoreVFS.h"
#include "Tests/CoreDataStack/History/HistoryPlace.h"
#include "Tests/Support/FaultVFS.h"

namespace {

using coredatastack::AppTarget;
using coredatastack::lastHistoryTransactionTimestamp;
using coredatastack::PersistentHistoryCleaner;
using coredatastack::updateLastHistoryTransactionTimestamp;
using foundation::Date;

class PersistentHistoryCleaning : public support::HistoryPlace {
 protected:
  /// What a cleaning says.
  std::string clean(std::vector<AppTarget> targets = {AppTarget::app, AppTarget::shareExtension}) {
    const auto context = store_.newBackgroundContext();
    const PersistentHistoryCleaner cleaner(context, std::move(targets),
                                           foundation::UserDefaults::standard());
    testing::internal::CaptureStdout();
    try {
      context->performBlockAndWait([&] { cleaner.clean(); });
    } catch (...) {
      said_ = testing::internal::GetCapturedStdout();
      throw;
    }
    return testing::internal::GetCapturedStdout();
  }
  [[nodiscard]] Date newestStamp() const {
    return store_.container()
        .persistentStoreCoordinator()
        ->store()
        ->engine()
        ->newestTransaction()
        .timestamp;
  }
  static void set(const AppTarget& target, Date date) {
    updateLastHistoryTransactionTimestamp(defaults(), target, date);
  }

  std::string said_;
};

TEST_F(PersistentHistoryCleaning, IsCancelledWhileATargetHasMergedNothing) {
  writeElsewhere("one");
  set(AppTarget::app, newestStamp());

  EXPECT_EQ(clean(), kCancelled);

  EXPECT_EQ(numberOfTransactions(), 1);
  EXPECT_EQ(lastHistoryTransactionTimestamp(defaults(), AppTarget::app), newestStamp());
}

TEST_F(PersistentHistoryCleaning, DeletesStrictlyBeforeTheEarlierStampAndClearsBoth) {
  writeElsewhere("one");
  writeElsewhere("two");
  const Date two = newestStamp();
  writeElsewhere("three");
  set(AppTarget::app, newestStamp());
  set(AppTarget::shareExtension, two);

  EXPECT_EQ(clean(),
            "Deleting persistent history using common timestamp " + two.description() + "\n");

  EXPECT_EQ(numberOfTransactions(), 2);
  EXPECT_EQ(lastHistoryTransactionTimestamp(defaults(), AppTarget::app), std::nullopt);
  EXPECT_EQ(lastHistoryTransactionTimestamp(defaults(), AppTarget::shareExtension), std::nullopt);
}

TEST_F(PersistentHistoryCleaning, IsCancelledRightAfterOneThatSucceeded) {
  writeElsewhere("one");
  set(AppTarget::app, newestStamp());
  set(AppTarget::shareExtension, newestStamp());

  static_cast<void>(clean());

  EXPECT_EQ(clean(), kCancelled);
}

TEST_F(PersistentHistoryCleaning, OfOneTargetNeedsNoOther) {
  writeElsewhere("one");
  writeElsewhere("two");
  set(AppTarget::app, newestStamp());

  static_cast<void>(clean({AppTarget::app}));

  EXPECT_EQ(numberOfTransactions(), 1);
}

TEST_F(PersistentHistoryCleaning, LeavesTheStampsWhenTheDeletionFails) {
  writeElsewhere("one");
  writeElsewhere("two");
  const Date newest = newestStamp();
  set(AppTarget::app, newest);
  set(AppTarget::shareExtension, newest);
  support::FaultVFS vfs;
  {
    const coredata::StoreVFSOverride faulty(vfs.name());
    store_.reopen();
  }
  vfs.reset();
  vfs.failAt(1, SQLITE_IOERR, true);

  EXPECT_THROW(static_cast<void>(clean()), foundation::Error);

  EXPECT_TRUE(vfs.faultWasReached());
  vfs.reset();
  EXPECT_EQ(said_,
            "Deleting persistent history using common timestamp " + newest.description() + "\n");
  EXPECT_EQ(lastHistoryTransactionTimestamp(defaults(), AppTarget::app), newest);
  EXPECT_EQ(lastHistoryTransactionTimestamp(defaults(), AppTarget::shareExtension), newest);
  EXPECT_EQ(numberOfTransactions(), 2);
  store_.reopen();
}

TEST_F(PersistentHistoryCleaning, WithoutTargetsStopsTheProcess) {
  EXPECT_DEATH(static_cast<void>(clean({})), "Fatal error");
}

}  // namespace
