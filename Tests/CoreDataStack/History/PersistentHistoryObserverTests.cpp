#include "CoreDataStack/History/PersistentHistoryObserver.h"

#include <atomic>
#include <future>
#include <mutex>
#include <thread>

#include "CoreData/Coordinator/RemoteChangeNotification.h"
#include "CoreData/History/NSPersistentHistoryTransaction.h"
#include "CoreData/SQLite/StoreVFS.h"
#include "CoreDataStack/Stack/CoreDataNotificationName.h"
#include "Foundation/Notifications/NSNotificationCenter.h"
#include "Foundation/Queues/MainQueue.h"
#include "Foundation/Values/WeakRef.h"
#include "Tests/CoreDataStack/History/HistoryPlace.h"
#include "Tests/Support/FaultVFS.h"
#include "Tests/Support/MainQueueWait.h"

namespace {

using coredatastack::AppTarget;
using coredatastack::lastHistoryTransactionTimestamp;
using coredatastack::PersistentHistoryObserver;
using coredatastack::SyncEvent;
using foundation::make;
using foundation::NSNotification;
using foundation::NSNotificationCenter;
using foundation::Ref;
using Names = coredatastack::CoreDataNotificationName;

constexpr const char* kNotified = "📣 [SYNC] NOTIFY SYNC\n";

/// What passes tell, in the order in which they tell it.
struct Told {
  enum class Kind { event, notification };
  Kind kind;
  std::thread::id thread;
  /// How many transactions the notification lists.
  std::size_t transactions = 0;
  std::size_t keys = 0;
  bool hasObject = false;
};

/// Keeps what it is handed, and wakes the main thread.
class WakingLogger final : public logger::Loggable {
 public:
  void error(const foundation::Error& /*error*/) noexcept override {
    ++count_;
    foundation::MainQueue::async([] {});
  }
  [[nodiscard]] int count() const noexcept { return count_; }

 private:
  std::atomic<int> count_ = 0;
};

class PersistentHistoryObserving : public support::HistoryPlace {
 protected:
  PersistentHistoryObserving() { observe(logger_); }

  void observe(Ref<logger::Loggable> logger) {
    observer_ = make<PersistentHistoryObserver>(
        AppTarget::app, Ref<coredata::NSPersistentContainer>(&store_.container()),
        foundation::UserDefaults::standard(), std::move(logger));
    events_ = observer_->syncEvent()->sink([this](const SyncEvent& event) {
      EXPECT_EQ(event, SyncEvent::finish);
      tell({Told::Kind::event, std::this_thread::get_id()});
    });
  }
  void change() {
    observer_->processStoreRemoteChanges(
        NSNotification(coredata::NSPersistentStoreRemoteChangeNotification));
  }
  [[nodiscard]] std::vector<Told> told() {
    const std::scoped_lock lock(mutex_);
    return told_;
  }
  [[nodiscard]] std::size_t numberOf(Told::Kind kind) {
    const auto all = told();
    return static_cast<std::size_t>(
        std::ranges::count_if(all, [&](const Told& one) { return one.kind == kind; }));
  }
  [[nodiscard]] bool waitForNotifications(std::size_t count) {
    return support::runMainQueueUntil([&] { return numberOf(Told::Kind::notification) >= count; });
  }
  [[nodiscard]] bool waitForErrors(int count) {
    return support::runMainQueueUntil([&] { return logger_->count() >= count; });
  }
  void closeStore() const {
    const auto coordinator = store_.container().persistentStoreCoordinator();
    coordinator->removePersistentStore(coordinator->store());
  }
  void openStore() const {
    store_.container().setPersistentStoreDescriptions(elsewhere_->persistentStoreDescriptions());
    store_.container().loadPersistentStores([](const auto&, const auto& error) {
      if (error) error->raise();
    });
  }
  /// From here on faults can be put into what the store does to its files.
  void reopenOverFaults() {
    closeStore();
    const coredata::StoreVFSOverride faulty(vfs_.name());
    openStore();
    vfs_.reset();
  }
  /// Waits until the passes so far have ended, by one that tells of the last transaction. All but
  /// `untold` were told of before.
  void finishPasses(std::size_t untold = 0) {
    writeElsewhere("the last");
    change();
    ASSERT_TRUE(support::runMainQueueUntil(
        [&] { return toldTransactions() + untold == writtenElsewhere(); }));
  }
  [[nodiscard]] std::size_t toldTransactions() {
    std::size_t count = 0;
    for (const Told& one : told()) count += one.transactions;
    return count;
  }

  support::FaultVFS vfs_;
  const Ref<WakingLogger> logger_ = make<WakingLogger>();
  Ref<PersistentHistoryObserver> observer_;

 private:
  void tell(Told one) {
    const std::scoped_lock lock(mutex_);
    told_.push_back(one);
    foundation::MainQueue::async([] {});
  }
  void didMerge(const NSNotification& notification) {
    const auto* list = notification.userInfoValue("transactions");
    Told one{Told::Kind::notification, std::this_thread::get_id()};
    one.transactions = list == nullptr ? 0 : list->list()->size();
    one.keys = notification.userInfo()->size();
    one.hasObject = notification.object() != nullptr;
    tell(one);
  }

  std::mutex mutex_;
  std::vector<Told> told_;
  combine::AnyCancellable events_;
  const Ref<foundation::Object> notifications_ = NSNotificationCenter::defaultCenter().addObserver(
      Names::NSPersistentHistoryDidMerge, nullptr,
      [this](const NSNotification& notification) { didMerge(notification); });
};

TEST_F(PersistentHistoryObserving, TellsWithAnEventALineAndANotificationInThisOrder) {
  writeElsewhere("one");
  writeElsewhere("two");
  testing::internal::CaptureStdout();

  change();
  ASSERT_TRUE(waitForNotifications(1));

  EXPECT_EQ(testing::internal::GetCapturedStdout(), std::string(kCancelled) + kNotified);
  const auto all = told();
  ASSERT_EQ(all.size(), 2U);
  EXPECT_EQ(all[0].kind, Told::Kind::event);
  EXPECT_EQ(all[1].kind, Told::Kind::notification);
  EXPECT_EQ(all[0].thread, all[1].thread);
  EXPECT_NE(all[0].thread, std::this_thread::get_id());
  EXPECT_EQ(all[1].transactions, 2U);
  EXPECT_EQ(all[1].keys, 1U);
  EXPECT_FALSE(all[1].hasObject);
}

TEST_F(PersistentHistoryObserving, NeverCleansWhileOnlyItsOwnKeyIsThere) {
  writeElsewhere("one");
  change();
  ASSERT_TRUE(waitForNotifications(1));

  EXPECT_EQ(numberOfTransactions(), 1);
  EXPECT_TRUE(lastHistoryTransactionTimestamp(defaults(), AppTarget::app).has_value());
}

TEST_F(PersistentHistoryObserving, CleansWhatEveryTargetHasMerged) {
  writeElsewhere("one");
  writeElsewhere("two");
  updateLastHistoryTransactionTimestamp(defaults(), AppTarget::shareExtension,
                                        foundation::Date::now());

  change();
  ASSERT_TRUE(waitForNotifications(1));

  EXPECT_EQ(numberOfTransactions(), 1);
  EXPECT_EQ(lastHistoryTransactionTimestamp(defaults(), AppTarget::app), std::nullopt);
}

TEST_F(PersistentHistoryObserving, SaysNothingWithoutNewTransactions) {
  testing::internal::CaptureStdout();
  change();
  writeHere("own");
  change();

  finishPasses();

  EXPECT_EQ(testing::internal::GetCapturedStdout(), std::string(kCancelled) + kNotified);
  EXPECT_EQ(told().size(), 2U);
  EXPECT_EQ(logger_->count(), 0);
}

TEST_F(PersistentHistoryObserving, BeginsASecondPassAfterTheFirstAndBehindIt) {
  writeElsewhere("one");
  change();
  change();
  change();

  finishPasses();

  EXPECT_EQ(toldTransactions(), 2U);
  EXPECT_EQ(numberOf(Told::Kind::notification), numberOf(Told::Kind::event));
}

TEST_F(PersistentHistoryObserving, MergesIntoTheViewContextOnItsQueue) {
  writeElsewhere("one");
  std::vector<std::thread::id> threads;
  change();
  ASSERT_TRUE(waitForNotifications(1));

  store_.context().performBlock([&] { threads.push_back(std::this_thread::get_id()); });
  foundation::drainMainQueue();

  EXPECT_EQ(threads, std::vector{std::this_thread::get_id()});
}

TEST_F(PersistentHistoryObserving, HandsAnErrorToTheLoggerAndSaysNothingElse) {
  testing::internal::CaptureStdout();
  closeStore();
  change();
  ASSERT_TRUE(waitForErrors(1));
  openStore();
  finishPasses();

  EXPECT_EQ(logger_->count(), 1);
  EXPECT_EQ(told().size(), 2U);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), std::string(kCancelled) + kNotified);
}

TEST_F(PersistentHistoryObserving, DropsAnErrorWithoutALogger) {
  observe(nullptr);
  testing::internal::CaptureStdout();
  writeElsewhere("one");
  reopenOverFaults();
  vfs_.watch(support::kEverything);
  vfs_.failAt(1, SQLITE_IOERR, true);
  change();
  ASSERT_TRUE(support::runMainQueueUntil([&] { return vfs_.faultWasReached(); }));
  vfs_.reset();
  finishPasses();

  EXPECT_EQ(told().size(), 2U);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), std::string(kCancelled) + kNotified);
}

TEST_F(PersistentHistoryObserving, TellsNothingWhenTheCleaningFails) {
  writeElsewhere("one");
  writeElsewhere("two");
  updateLastHistoryTransactionTimestamp(defaults(), AppTarget::shareExtension,
                                        foundation::Date::now());
  reopenOverFaults();
  vfs_.failAt(1, SQLITE_IOERR, true);

  change();
  ASSERT_TRUE(waitForErrors(1));

  EXPECT_TRUE(vfs_.faultWasReached());
  vfs_.reset();
  EXPECT_TRUE(lastHistoryTransactionTimestamp(defaults(), AppTarget::app).has_value());
  finishPasses(2);
  EXPECT_EQ(told().size(), 2U);
}

TEST_F(PersistentHistoryObserving, DropsThePassesThatWaitWhenItGoes) {
  std::promise<void> reached;
  std::promise<void> release;
  std::atomic<int> passes = 0;
  const auto token = observer_->syncEvent()->sink([&](const SyncEvent& /*event*/) {
    if (++passes > 1) return;
    reached.set_value();
    release.get_future().wait();
  });
  writeElsewhere("one");
  change();
  reached.get_future().wait();
  writeElsewhere("two");
  change();

  const foundation::WeakRef<PersistentHistoryObserver> weakly(observer_);
  observer_ = nullptr;
  release.set_value();

  ASSERT_TRUE(support::runMainQueueUntil([&] { return weakly.expired(); }));
  EXPECT_EQ(passes, 1);
}

TEST_F(PersistentHistoryObserving, IsNotCalledOnceItIsGone) {
  writeElsewhere("one");
  const foundation::WeakRef<PersistentHistoryObserver> weakly(observer_);
  {
    const Ref<PersistentHistoryObserver> gone = std::exchange(observer_, nullptr);
    NSNotificationCenter::defaultCenter().addObserver(
        gone, coredatastack::kProcessStoreRemoteChanges,
        coredata::NSPersistentStoreRemoteChangeNotification,
        store_.container().persistentStoreCoordinator());
  }

  NSNotificationCenter::defaultCenter().post(coredata::NSPersistentStoreRemoteChangeNotification,
                                             store_.container().persistentStoreCoordinator());

  EXPECT_TRUE(weakly.expired());
  EXPECT_TRUE(told().empty());
}

TEST_F(PersistentHistoryObserving, StartedTwiceMakesTwoPassesOfAChange) {
  observer_->startObserving();
  observer_->startObserving();
  closeStore();

  NSNotificationCenter::defaultCenter().post(coredata::NSPersistentStoreRemoteChangeNotification,
                                             store_.container().persistentStoreCoordinator());

  ASSERT_TRUE(waitForErrors(2));
  openStore();
  finishPasses();
  EXPECT_EQ(logger_->count(), 2);
}

TEST_F(PersistentHistoryObserving, HearsOfItsOwnStoreOnly) {
  observer_->startObserving();

  NSNotificationCenter::defaultCenter().post(coredata::NSPersistentStoreRemoteChangeNotification,
                                             elsewhere_->persistentStoreCoordinator());
  writeElsewhere("one");
  finishPasses();

  EXPECT_EQ(numberOf(Told::Kind::notification), 1U);
}

}  // namespace
