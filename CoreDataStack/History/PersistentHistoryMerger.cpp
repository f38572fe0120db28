#include "CoreDataStack/History/PersistentHistoryMerger.h"

#include <utility>

#include "CoreDataStack/History/UserDefaults+HistoryTimestamp.h"
#include "Foundation/Internal/TestPoint.h"

namespace coredatastack {

using coredata::NSManagedObjectContext;
using foundation::Date;
using foundation::reach;
using foundation::Ref;
using foundation::TestPoint;
using foundation::UserDefaults;

PersistentHistoryMerger::PersistentHistoryMerger(Ref<NSManagedObjectContext> backgroundContext,
                                                 Ref<NSManagedObjectContext> viewContext,
                                                 const AppTarget& currentTarget,
                                                 Ref<UserDefaults> userDefaults)
    : backgroundContext_(std::move(backgroundContext)),
      viewContext_(std::move(viewContext)),
      currentTarget_(currentTarget),
      userDefaults_(std::move(userDefaults)) {}

std::optional<PersistentHistoryMerger::Transactions> PersistentHistoryMerger::merge() const {
  const Date fromDate =
      lastHistoryTransactionTimestamp(*userDefaults_, currentTarget_).value_or(Date::distantPast());
  reach(TestPoint::beforeFetch);
  Transactions transactions =
      PersistentHistoryFetcher(backgroundContext_, viewContext_, fromDate).fetch();
  reach(TestPoint::afterFetch);
  if (transactions.empty()) {
    reach(TestPoint::emptyPass);
    return std::nullopt;
  }
  viewContext_->performBlock([viewContext = viewContext_, transactions] {
    reach(TestPoint::mergeBegins);
    for (const auto& transaction : transactions) {
      viewContext->mergeChangesFromContextDidSave(transaction->objectIDNotification());
    }
  });
  reach(TestPoint::beforeTimestamp);
  updateLastHistoryTransactionTimestamp(*userDefaults_, currentTarget_,
                                        transactions.back()->timestamp());
  reach(TestPoint::afterTimestamp);
  return transactions;
}

}  // namespace coredatastack
