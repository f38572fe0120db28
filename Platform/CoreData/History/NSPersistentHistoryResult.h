#pragma once

#include <cstdint>
#include <utility>
#include <variant>
#include <vector>

#include "CoreData/History/HistoryChanges.h"
#include "CoreData/History/NSPersistentHistoryChangeRequest.h"
#include "CoreData/History/NSPersistentHistoryTransaction.h"
#include "CoreData/History/NSPersistentStoreResult.h"

namespace coredata {

/// What a history request gave, by the type of result that it asked for. Immutable; use it on any
/// thread.
class NSPersistentHistoryResult final : public NSPersistentStoreResult {
 public:
  using Transactions = std::vector<foundation::Ref<NSPersistentHistoryTransaction>>;
  /// In this order: the status, which is always true; the count; transactions; changes.
  using Result = std::variant<bool, std::int64_t, Transactions, HistoryChanges>;

  NSPersistentHistoryResult(NSPersistentHistoryResultType resultType, Result result);

  [[nodiscard]] NSPersistentHistoryResultType resultType() const noexcept { return resultType_; }
  [[nodiscard]] const Result& result() const noexcept { return result_; }

 private:
  NSPersistentHistoryResultType resultType_;
  Result result_;
};

}  // namespace coredata
