#include "CoreDataStack/History/PersistentHistoryFetcher.h"

#include <utility>
#include <variant>

#include "CoreData/History/NSPersistentHistoryChangeRequest.h"
#include "CoreData/History/NSPersistentHistoryResult.h"
#include "Foundation/Predicate/NSCompoundPredicate.h"
#include "Foundation/Predicate/NSPredicate.h"

namespace coredatastack {

using coredata::NSManagedObjectContext;
using coredata::NSPersistentHistoryChangeRequest;
using coredata::NSPersistentHistoryResult;
using coredata::NSPersistentHistoryTransaction;
using coredata::NSPersistentStoreResult;
using foundation::Ref;

namespace {

/// Everything but what this context wrote. A transaction that says nothing of its author or context
/// is somebody else's.
foundation::NSPredicate writtenByOthers(const NSManagedObjectContext& context) {
  std::vector<foundation::NSPredicate> conditions;
  if (const auto author = context.transactionAuthor()) {
    conditions.push_back(foundation::NSPredicate::format("%K != %@", "author", *author));
  }
  if (const auto name = context.name()) {
    conditions.push_back(foundation::NSPredicate::format("%K != %@", "contextName", *name));
  }
  return foundation::NSCompoundPredicate::andPredicate(conditions);
}

}  // namespace

PersistentHistoryFetcher::PersistentHistoryFetcher(Ref<NSManagedObjectContext> fetchContext,
                                                   Ref<NSManagedObjectContext> mergeContext,
                                                   foundation::Date fromDate)
    : fetchContext_(std::move(fetchContext)),
      mergeContext_(std::move(mergeContext)),
      fromDate_(fromDate) {}

PersistentHistoryFetcher::Transactions PersistentHistoryFetcher::fetch() const {
  auto request = NSPersistentHistoryChangeRequest::fetchHistoryAfterDate(fromDate_);
  if (auto fetchRequest = NSPersistentHistoryTransaction::fetchRequest()) {
    fetchRequest->setPredicate(writtenByOthers(*mergeContext_));
    request.setFetchRequest(std::move(*fetchRequest));
  }
  return transactions(fetchContext_->execute(request));
}

PersistentHistoryFetcher::Transactions PersistentHistoryFetcher::transactions(
    const Ref<NSPersistentStoreResult>& of) {
  if (const auto history = foundation::as<NSPersistentHistoryResult>(of)) {
    if (const auto* list = std::get_if<Transactions>(&history->result())) return *list;
  }
  throw Error::historyTransactionConvertionFailed();
}

}  // namespace coredatastack
