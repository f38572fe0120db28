#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "CoreData/Context/NSManagedObjectContext.h"
#include "CoreData/History/NSPersistentHistoryTransaction.h"
#include "CoreData/History/NSPersistentStoreResult.h"
#include "Foundation/Values/Date.h"
#include "Foundation/Values/EnumError.h"

namespace coredatastack {

/// Reads what others wrote: the transactions after a date, without those of one context's author
/// and of its name.
class PersistentHistoryFetcher {
 public:
  using Transactions = std::vector<foundation::Ref<coredata::NSPersistentHistoryTransaction>>;

  class Error final : public foundation::EnumError<Error> {
   public:
    enum class Case : std::uint8_t {
      historyTransactionConvertionFailed,  ///< the store answered with something else
    };
    static constexpr std::string_view kTypeName = "PersistentHistoryFetcher.Error";
    static constexpr std::string_view kCaseNames[] = {"historyTransactionConvertionFailed"};

    [[nodiscard]] static Error historyTransactionConvertionFailed() {
      return Error(Case::historyTransactionConvertionFailed);
    }

   private:
    using EnumError::EnumError;
  };

  /// `fetchContext` executes the request; what `mergeContext` wrote is left out.
  PersistentHistoryFetcher(foundation::Ref<coredata::NSManagedObjectContext> fetchContext,
                           foundation::Ref<coredata::NSManagedObjectContext> mergeContext,
                           foundation::Date fromDate);

  /// The transactions in the order in which they were committed. Throws the store's errors
  /// unchanged. In the fetching context's turn.
  [[nodiscard]] Transactions fetch() const;

  /// The transactions that a result lists. Throws `historyTransactionConvertionFailed` for a
  /// result of another kind.
  [[nodiscard]] static Transactions transactions(
      const foundation::Ref<coredata::NSPersistentStoreResult>& of);

 private:
  foundation::Ref<coredata::NSManagedObjectContext> fetchContext_;
  foundation::Ref<coredata::NSManagedObjectContext> mergeContext_;
  foundation::Date fromDate_;
};

}  // namespace coredatastack
