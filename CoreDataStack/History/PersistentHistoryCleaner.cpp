#include "CoreDataStack/History/PersistentHistoryCleaner.h"

#include <utility>

#include "CoreData/History/NSPersistentHistoryChangeRequest.h"
#include "CoreData/History/NSPersistentStoreResult.h"
#include "CoreDataStack/History/UserDefaults+HistoryTimestamp.h"
#include "Foundation/Internal/TestPoint.h"
#include "Foundation/Values/FatalError.h"

namespace coredatastack {

using coredata::NSManagedObjectContext;
using coredata::NSPersistentHistoryChangeRequest;
using foundation::print;
using foundation::reach;
using foundation::Ref;
using foundation::TestPoint;
using foundation::UserDefaults;

PersistentHistoryCleaner::PersistentHistoryCleaner(Ref<NSManagedObjectContext> context,
                                                   std::vector<AppTarget> targets,
                                                   Ref<UserDefaults> userDefaults)
    : context_(std::move(context)),
      targets_(std::move(targets)),
      userDefaults_(std::move(userDefaults)) {}

void PersistentHistoryCleaner::clean() const {
  reach(TestPoint::cleanerFetches);
  const auto timestamp = lastCommonTransactionTimestamp(*userDefaults_, targets_);
  if (!timestamp) {
    print("Cancelling deletions as there is no common transaction timestamp");
    reach(TestPoint::cancelledCleaning);
    return;
  }
  print("Deleting persistent history using common timestamp " + timestamp->description());
  reach(TestPoint::cleanerDeletes);
  static_cast<void>(
      context_->execute(NSPersistentHistoryChangeRequest::deleteHistoryBeforeDate(*timestamp)));
  for (const AppTarget& target : targets_) {
    reach(TestPoint::cleanerClears);
    updateLastHistoryTransactionTimestamp(*userDefaults_, target, std::nullopt);
  }
}

}  // namespace coredatastack
