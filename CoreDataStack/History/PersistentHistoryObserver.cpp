#include "CoreDataStack/History/PersistentHistoryObserver.h"

#include <memory>
#include <mutex>
#include <utility>

#include "CoreData/Coordinator/RemoteChangeNotification.h"
#include "CoreDataStack/History/PersistentHistoryCleaner.h"
#include "CoreDataStack/History/PersistentHistoryMerger.h"
#include "CoreDataStack/Stack/CoreDataNotificationName.h"
#include "Foundation/Internal/TestPoint.h"
#include "Foundation/Notifications/NSNotificationCenter.h"
#include "Foundation/Queues/OperationQueue.h"
#include "Foundation/Values/FatalError.h"
#include "Foundation/Values/WeakRef.h"

namespace coredatastack {

using combine::PassthroughSubject;
using coredata::NSManagedObjectContext;
using coredata::NSPersistentContainer;
using foundation::make;
using foundation::NSNotification;
using foundation::NSNotificationCenter;
using foundation::OperationQueue;
using foundation::reach;
using foundation::Ref;
using foundation::TestPoint;
using foundation::UserDefaults;
using foundation::Value;

namespace {

NSNotification::UserInfo userInfoOf(const PersistentHistoryMerger::Transactions& transactions) {
  foundation::ValueList list;
  list.reserve(transactions.size());
  for (const auto& transaction : transactions) list.emplace_back(transaction);
  return std::make_shared<const foundation::ValueDictionary>(
      foundation::ValueDictionary{{"transactions", Value(std::move(list))}});
}

}  // namespace

/// Several threads may report the first change at once.
class PersistentHistoryObserver::HistoryQueue {
 public:
  [[nodiscard]] OperationQueue& get() {
    std::call_once(isMade_, [this] {
      queue_ = make<OperationQueue>();
      queue_->setMaxConcurrentOperationCount(1);
    });
    return *queue_;
  }

 private:
  std::once_flag isMade_;
  Ref<OperationQueue> queue_;
};

PersistentHistoryObserver::PersistentHistoryObserver(const AppTarget& target,
                                                     Ref<NSPersistentContainer> persistentContainer,
                                                     Ref<UserDefaults> userDefaults,
                                                     Ref<logger::Loggable> logger)
    : target_(target),
      userDefaults_(std::move(userDefaults)),
      persistentContainer_(std::move(persistentContainer)),
      logger_(std::move(logger)),
      syncEvent_(make<PassthroughSubject<SyncEvent>>()),
      historyQueue_(std::make_unique<HistoryQueue>()) {}

PersistentHistoryObserver::~PersistentHistoryObserver() = default;

void PersistentHistoryObserver::startObserving() {
  NSNotificationCenter::defaultCenter().addObserver(
      Ref<PersistentHistoryObserver>(this), kProcessStoreRemoteChanges,
      coredata::NSPersistentStoreRemoteChangeNotification,
      persistentContainer_->persistentStoreCoordinator());
}

void PersistentHistoryObserver::processStoreRemoteChanges(const NSNotification& /*notification*/) {
  historyQueue_->get().addOperation(
      [weakly = foundation::WeakRef<PersistentHistoryObserver>(this)] {
        if (const Ref<PersistentHistoryObserver> observer = weakly.lock())
          observer->processHistory();
      });
}

void PersistentHistoryObserver::processHistory() {
  reach(TestPoint::passBegins);
  const Ref<NSManagedObjectContext> backgroundContext =
      persistentContainer_->newBackgroundContext();
  backgroundContext->performBlockAndWait([&] {
    try {
      mergeAndTell(backgroundContext);
    } catch (const foundation::Error& error) {
      if (logger_) logger_->error(error);
    }
  });
  reach(TestPoint::passEnds);
}

void PersistentHistoryObserver::mergeAndTell(const Ref<NSManagedObjectContext>& backgroundContext) {
  const PersistentHistoryMerger merger(backgroundContext, persistentContainer_->viewContext(),
                                       target_, userDefaults_);
  const auto transactions = merger.merge();
  if (!transactions) return;
  const auto targets = AppTarget::allCases();
  PersistentHistoryCleaner(backgroundContext, {targets.begin(), targets.end()}, userDefaults_)
      .clean();
  syncEvent_->send(SyncEvent::finish);
  foundation::print("📣 [SYNC] NOTIFY SYNC");
  NSNotificationCenter::defaultCenter().post(CoreDataNotificationName::NSPersistentHistoryDidMerge,
                                             nullptr, userInfoOf(*transactions));
}

}  // namespace coredatastack
