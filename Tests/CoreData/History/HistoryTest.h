#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "CoreData/History/NSPersistentHistoryResult.h"
#include "Tests/Support/GardenTest.h"

namespace garden {

using Transactions = coredata::NSPersistentHistoryResult::Transactions;

/// What a request for transactions gives in the context's turn.
inline Transactions transactionsOf(coredata::NSManagedObjectContext& context,
                                   const coredata::NSPersistentHistoryChangeRequest& request) {
  const auto result = context.performBlockAndWait([&] { return context.execute(request); });
  const auto& history = dynamic_cast<const coredata::NSPersistentHistoryResult&>(*result);
  return std::get<Transactions>(history.result());
}

/// The numbers of transactions, in the order in which they are given.
inline std::vector<std::int64_t> numbersOf(const Transactions& transactions) {
  std::vector<std::int64_t> numbers;
  for (const auto& transaction : transactions) numbers.push_back(transaction->transactionNumber());
  return numbers;
}

/// A garden whose saves are looked at afterwards.
class HistoryTest : public Test {
 protected:
  using Request = coredata::NSPersistentHistoryChangeRequest;
  using Numbers = std::vector<std::int64_t>;

  /// A save of a new plant.
  foundation::Ref<Plant> plant(const std::optional<std::string>& author = std::nullopt) {
    return context->performBlockAndWait([&] {
      context->setTransactionAuthor(author);
      auto plant = foundation::make<Plant>(*context);
      context->save();
      return plant;
    });
  }
  [[nodiscard]] Transactions history(
      const Request& request = Request::fetchHistoryAfterToken(nullptr)) {
    return transactionsOf(*context, request);
  }
  /// The whole history of which the predicate holds.
  [[nodiscard]] Transactions historyWhere(foundation::NSPredicate predicate) {
    auto request = Request::fetchHistoryAfterToken(nullptr);
    auto which = coredata::NSPersistentHistoryTransaction::fetchRequest();
    which->setPredicate(std::move(predicate));
    request.setFetchRequest(which);
    return history(request);
  }
  /// The number that a request gives which asks for a count.
  [[nodiscard]] std::int64_t countOf(Request request) {
    request.setResultType(coredata::NSPersistentHistoryResultType::count);
    const auto result = context->performBlockAndWait([&] { return context->execute(request); });
    return std::get<std::int64_t>(
        dynamic_cast<const coredata::NSPersistentHistoryResult&>(*result).result());
  }
};

}  // namespace garden
