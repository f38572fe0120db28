#include "CoreData/History/NSPersistentHistoryChange.h"

#include <bit>

namespace coredata {

NSPersistentHistoryChangeType NSPersistentHistoryChange::changeType() const noexcept {
  switch (record().kind) {
    case RowChangeKind::insert:
      return NSPersistentHistoryChangeType::insert;
    case RowChangeKind::update:
      return NSPersistentHistoryChangeType::update;
    case RowChangeKind::remove:
      break;
  }
  return NSPersistentHistoryChangeType::delete_;
}

std::vector<std::string> NSPersistentHistoryChange::updatedProperties() const {
  const auto slots = block_->entity(record()).slots();
  std::vector<std::string> names;
  for (SlotMask rest = record().changed; rest != 0; rest &= rest - 1) {
    const auto slot = static_cast<std::size_t>(std::countr_zero(rest));
    if (slot < slots.size()) names.push_back(slots[slot].property->name());
  }
  return names;
}

}  // namespace coredata
