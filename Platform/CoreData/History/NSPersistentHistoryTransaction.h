#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "CoreData/History/HistoryChanges.h"
#include "CoreData/History/NSPersistentHistoryFetchRequest.h"
#include "CoreData/History/NSPersistentHistoryToken.h"
#include "Foundation/Notifications/NSNotification.h"
#include "Foundation/Values/Date.h"

namespace coredata {

/// One recorded save: who made it, when, and what it changed. Immutable; use it on any thread.
class NSPersistentHistoryTransaction final : public foundation::Object {
 public:
  NSPersistentHistoryTransaction(foundation::Ref<const HistoryBlock> block,
                                 std::size_t index) noexcept
      : block_(std::move(block)), index_(index) {}

  /// Rises by one with each transaction of the store.
  [[nodiscard]] std::int64_t transactionNumber() const noexcept { return record().number; }
  /// Later than that of every earlier transaction of the store, whatever the clock did.
  [[nodiscard]] foundation::Date timestamp() const noexcept {
    return foundation::Date::fromReference(record().timestamp);
  }
  /// Author and name of the context that saved, if it had them.
  [[nodiscard]] const std::optional<std::string>& author() const noexcept {
    return name(record().author);
  }
  [[nodiscard]] const std::optional<std::string>& contextName() const noexcept {
    return name(record().contextName);
  }
  /// The store's UUID as a text.
  [[nodiscard]] const std::string& storeID() const noexcept { return block_->storeID(); }
  /// The program that saved; empty if it had no identifier.
  [[nodiscard]] std::string bundleID() const { return name(record().bundle).value_or(""); }
  /// The number of the process that saved, as a text.
  [[nodiscard]] std::string processID() const { return std::to_string(record().process); }

  /// What it changed, in the order in which it was written; empty when the request did not ask for
  /// it. Changes of entities that the model does not have are left out.
  [[nodiscard]] HistoryChanges changes() const noexcept {
    return {block_, record().firstChange, record().changeCount};
  }
  /// The place behind this transaction.
  [[nodiscard]] foundation::Ref<NSPersistentHistoryToken> token() const;
  /// What it changed in the form of a context's did-save notification, with identifiers in the
  /// place of objects: for `NSManagedObjectContext::mergeChangesFromContextDidSave`.
  [[nodiscard]] foundation::NSNotification objectIDNotification() const;

  /// By the keys that a fetch request's predicate may name.
  [[nodiscard]] foundation::Value valueForKey(std::string_view key) const override;
  [[nodiscard]] std::string description() const override;

  /// A request for transactions to which a condition can be added. There is always one.
  [[nodiscard]] static std::optional<NSPersistentHistoryFetchRequest> fetchRequest() {
    return NSPersistentHistoryFetchRequest();
  }

 private:
  [[nodiscard]] const HistoryTransactionRecord& record() const noexcept {
    return block_->records.transactions[index_];
  }
  [[nodiscard]] const std::optional<std::string>& name(HistoryName which) const noexcept {
    return block_->records.names[which];
  }

  foundation::Ref<const HistoryBlock> block_;
  std::size_t index_;
};

}  // namespace coredata
