#include "CoreDataStack/History/PersistentHistoryMerger.h"

#include <utility>

#include "CoreDataStack/History/UserDefaults+HistoryTimestamp.h"

namespace coredatastack {

using coredata::NSManagedObjectContext;
using foundation::Date;
using foundation::Ref;
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
  Transactions transactions =
      PersistentHistoryFetcher(backgroundContext_, viewContext_, fromDate).fetch();
  if (transactions.empty()) return std::nullopt;
  viewContext_->performBlock([viewContext = viewContext_, transactions] {
    for (const auto& transaction : transactions) {
      viewContext->mergeChangesFromContextDidSave(transaction->objectIDNotification());
    }
  });
  updateLastHistoryTransactionTimestamp(*userDefaults_, currentTarget_,
                                        transactions.back()->timestamp());
  return transactions;
}

}  // namespace coredatastack
