#include "Tools/habits/History/NewestTransaction.h"

#include "CoreData/Coordinator/NSPersistentStoreCoordinator.h"
#include "CoreData/History/NSPersistentHistoryChangeRequest.h"
#include "CoreDataStack/History/PersistentHistoryFetcher.h"

namespace habits {

using coredata::NSManagedObjectContext;
using coredata::NSPersistentHistoryChangeRequest;
using coredata::NSPersistentHistoryTransaction;
using foundation::Ref;

namespace {

/// The oldest one behind a place.
Ref<NSPersistentHistoryTransaction> firstAfter(std::int64_t number,
                                               NSManagedObjectContext& context) {
  const auto store = context.persistentStoreCoordinator()->persistentStores().front();
  auto request = NSPersistentHistoryChangeRequest::fetchHistoryAfterToken(
      foundation::make<coredata::NSPersistentHistoryToken>(store->identifier(), number));
  request.setResultType(coredata::NSPersistentHistoryResultType::transactionsOnly);
  coredata::NSPersistentHistoryFetchRequest one;
  one.setFetchLimit(1);
  request.setFetchRequest(one);
  const auto found =
      coredatastack::PersistentHistoryFetcher::transactions(context.execute(request));
  return found.empty() ? nullptr : found.front();
}

}  // namespace

Ref<NSPersistentHistoryTransaction> newestTransaction(NSManagedObjectContext& context) {
  // A history is as long as its store is old, and can only be read from its beginning: so in
  // strides that double while there is something behind them, and halve when there is nothing.
  Ref<NSPersistentHistoryTransaction> newest;
  std::int64_t number = 0;
  for (std::int64_t stride = 1; stride > 0;) {
    const auto next = firstAfter(number + stride - 1, context);
    if (next) {
      newest = next;
      number = next->transactionNumber();
      stride *= 2;
    } else {
      stride /= 2;
    }
  }
  return newest;
}

}  // namespace habits
