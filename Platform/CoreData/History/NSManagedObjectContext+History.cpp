#include "CoreData/Context/ContextState.h"
#include "CoreData/Context/NSManagedObjectContext.h"
#include "CoreData/Coordinator/ObjectIDTable.h"
#include "CoreData/History/HistoryError.h"
#include "CoreData/History/HistoryPredicate.h"
#include "CoreData/History/NSPersistentHistoryResult.h"
#include "CoreData/SQLite/HistoryPruning.h"

namespace coredata {

using foundation::Date;
using foundation::make;
using foundation::Ref;
using Request = NSPersistentHistoryChangeRequest;
using ResultType = NSPersistentHistoryResultType;

namespace {

/// The number of the transaction behind which the token is; 0 without one.
std::int64_t numberOf(const Ref<NSPersistentHistoryToken>& token, const NSPersistentStore& store) {
  if (!token) return 0;
  if (token->storeID() == store.identifier()) return token->transactionNumber();
  throw historyError(HistoryErrorCode::foreignToken, "The place behind " + token->description() +
                                                         " is none in the history of the store " +
                                                         store.identifier() + ".");
}

HistoryBounds boundsAfter(const Request::Place& place, const NSPersistentStore& store) {
  HistoryBounds bounds;
  if (const auto* date = std::get_if<Date>(&place)) {
    bounds.afterStamp = date->timeIntervalSinceReferenceDate();
  } else {
    bounds.afterNumber = numberOf(std::get<Ref<NSPersistentHistoryToken>>(place), store);
  }
  return bounds;
}

HistoryRecords found(const Request& request, ReadSession& session, const NSPersistentStore& store) {
  const NSPersistentHistoryFetchRequest which =
      request.fetchRequest().value_or(NSPersistentHistoryFetchRequest());
  HistoryBounds bounds = boundsAfter(request.place(), store);
  const HistoryPredicate predicate(which.predicate(), store.identifier());
  if (!session.store()->options().historyTracking) return {};
  const bool isAnswered = predicate.narrow(bounds);
  const auto isWanted = [&](const HistoryTransactionRecord& transaction,
                            const HistoryRecords& records) {
    return isAnswered || predicate.holds(transaction, records);
  };
  HistoryReader reader(session);
  const bool wantsChanges = request.resultType() == ResultType::changesOnly ||
                            request.resultType() == ResultType::transactionsAndChanges;
  return wantsChanges ? reader.transactionsAndChanges(bounds, which.fetchLimit(), isWanted)
                      : reader.transactions(bounds, which.fetchLimit(), isWanted);
}

NSPersistentHistoryResult::Transactions transactionsOf(const Ref<const HistoryBlock>& block) {
  NSPersistentHistoryResult::Transactions transactions;
  const std::size_t count = block->records.transactions.size();
  transactions.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    transactions.push_back(make<NSPersistentHistoryTransaction>(block, i));
  }
  return transactions;
}

NSPersistentHistoryResult::Result resultOf(const Ref<const HistoryBlock>& block, ResultType type) {
  switch (type) {
    case ResultType::statusOnly:
      return true;
    case ResultType::count:
      return static_cast<std::int64_t>(block->records.transactions.size());
    case ResultType::changesOnly:
      return HistoryChanges(block, 0, block->records.changes.size());
    case ResultType::transactionsOnly:
    case ResultType::transactionsAndChanges:
      break;
  }
  return transactionsOf(block);
}

std::int64_t deleteBefore(const Request& request, ReadSession& session,
                          const NSPersistentStore& store) {
  HistoryPruning pruning(session);
  if (const auto* date = std::get_if<Date>(&request.place())) {
    return pruning.deleteBefore(date->timeIntervalSinceReferenceDate());
  }
  return pruning.deleteBefore(
      numberOf(std::get<Ref<NSPersistentHistoryToken>>(request.place()), store));
}

}  // namespace

Ref<NSPersistentStoreResult> NSManagedObjectContext::execute(const Request& request) {
  assertQueue();
  const Ref<NSPersistentStore> store = state_->requireStore();
  ReadSession& session = state_->session();
  if (request.action() == Request::Action::fetch) {
    auto block = make<const HistoryBlock>(found(request, session, *store),
                                          Ref<ObjectIDTable>(&state_->coordinator->identifiers()),
                                          store, state_->coordinator->sharedManagedObjectModel());
    return make<NSPersistentHistoryResult>(request.resultType(),
                                           resultOf(block, request.resultType()));
  }
  const bool isTracked = session.store()->options().historyTracking;
  const std::int64_t count = isTracked ? deleteBefore(request, session, *store) : 0;
  if (request.resultType() == ResultType::count) {
    return make<NSPersistentHistoryResult>(ResultType::count, count);
  }
  return make<NSPersistentHistoryResult>(ResultType::statusOnly, true);
}

}  // namespace coredata
