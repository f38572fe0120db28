#pragma once

#include <cstdint>
#include <optional>
#include <utility>
#include <variant>

#include "CoreData/History/NSPersistentHistoryFetchRequest.h"
#include "CoreData/History/NSPersistentHistoryToken.h"
#include "Foundation/Values/Date.h"
#include "Foundation/Values/Ref.h"

namespace coredata {

class NSPersistentHistoryTransaction;

/// What a history request gives.
enum class NSPersistentHistoryResultType : std::uint8_t {
  statusOnly,              ///< nothing but that it did not fail
  count,                   ///< how many transactions were found or deleted
  transactionsOnly,        ///< transactions whose changes are not read
  changesOnly,             ///< the changes of all transactions in one list
  transactionsAndChanges,  ///< transactions with their changes
};

/// Asks for transactions of a store's history, or deletes some; run it with
/// `NSManagedObjectContext::execute`. A plain value; nothing is looked up before that.
///
/// "After" and "before" are strict. Transactions come in the order of their numbers, which is that
/// of their timestamps.
class NSPersistentHistoryChangeRequest {
 public:
  /// Where the history is cut: at a stamp, or behind a transaction.
  using Place = std::variant<foundation::Date, foundation::Ref<NSPersistentHistoryToken>>;
  enum class Action : std::uint8_t { fetch, delete_ };

  [[nodiscard]] static NSPersistentHistoryChangeRequest fetchHistoryAfterDate(
      foundation::Date date);
  /// No token stands for the beginning. Executing it throws when the token is another store's.
  [[nodiscard]] static NSPersistentHistoryChangeRequest fetchHistoryAfterToken(
      foundation::Ref<NSPersistentHistoryToken> token);
  [[nodiscard]] static NSPersistentHistoryChangeRequest fetchHistoryAfterTransaction(
      const foundation::Ref<NSPersistentHistoryTransaction>& transaction);
  /// Deleting takes the record away and nothing else: objects stay, no deletion is recorded or
  /// announced, and later transactions go on counting.
  [[nodiscard]] static NSPersistentHistoryChangeRequest deleteHistoryBeforeDate(
      foundation::Date date);
  /// No token stands for the beginning.
  [[nodiscard]] static NSPersistentHistoryChangeRequest deleteHistoryBeforeToken(
      foundation::Ref<NSPersistentHistoryToken> token);
  [[nodiscard]] static NSPersistentHistoryChangeRequest deleteHistoryBeforeTransaction(
      const foundation::Ref<NSPersistentHistoryTransaction>& transaction);

  [[nodiscard]] Action action() const noexcept { return action_; }
  [[nodiscard]] const Place& place() const noexcept { return place_; }

  /// Transactions with their changes for a fetch, only the status for a deletion, unless set. A
  /// deletion has no transactions or changes to give and takes those types for the status.
  [[nodiscard]] NSPersistentHistoryResultType resultType() const noexcept { return resultType_; }
  void setResultType(NSPersistentHistoryResultType type) noexcept { resultType_ = type; }

  /// Which of the transactions after the place are wanted; all of them without one. A deletion
  /// takes no notice of it.
  [[nodiscard]] const std::optional<NSPersistentHistoryFetchRequest>& fetchRequest()
      const noexcept {
    return fetchRequest_;
  }
  void setFetchRequest(std::optional<NSPersistentHistoryFetchRequest> request) {
    fetchRequest_ = std::move(request);
  }

 private:
  NSPersistentHistoryChangeRequest(Action action, Place place,
                                   NSPersistentHistoryResultType resultType);

  Action action_;
  Place place_;
  NSPersistentHistoryResultType resultType_;
  std::optional<NSPersistentHistoryFetchRequest> fetchRequest_;
};

}  // namespace coredata
