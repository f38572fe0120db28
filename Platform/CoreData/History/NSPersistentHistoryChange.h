#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "CoreData/Coordinator/NSManagedObjectID.h"
#include "CoreData/History/HistoryBlock.h"

namespace coredata {

/// What a transaction did to an object.
enum class NSPersistentHistoryChangeType : std::uint8_t { insert, update, delete_ };

/// One change of a transaction: a look into the result that it came with, made when somebody
/// touches it and as cheap as a handle. Immutable; use it on any thread.
class NSPersistentHistoryChange {
 public:
  NSPersistentHistoryChange(foundation::Ref<const HistoryBlock> block, std::size_t index) noexcept
      : block_(std::move(block)), index_(index) {}

  /// The change's place in its transaction, counted from 1.
  [[nodiscard]] std::int64_t changeID() const noexcept { return record().sequence; }
  [[nodiscard]] foundation::Ref<NSManagedObjectID> changedObjectID() const {
    return block_->identifier(record());
  }
  [[nodiscard]] NSPersistentHistoryChangeType changeType() const noexcept;
  /// The names of the attributes and to-one relationships that an update wrote, in their order;
  /// none for other types.
  [[nodiscard]] std::vector<std::string> updatedProperties() const;

 private:
  [[nodiscard]] const HistoryChangeRecord& record() const noexcept {
    return block_->records.changes[index_];
  }

  foundation::Ref<const HistoryBlock> block_;
  std::size_t index_;
};

}  // namespace coredata
