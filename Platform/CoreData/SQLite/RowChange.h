#pragma once

#include <cstdint>

#include "CoreData/Rows/Row.h"

namespace coredata {

/// What a transaction did to a row, with the numbers under which the history keeps it.
enum class RowChangeKind : std::uint8_t { insert = 0, update = 1, remove = 2 };

struct RowChange {
  const NSEntityDescription* entity = nullptr;
  ObjectKey key = kNoObject;
  RowChangeKind kind = RowChangeKind::insert;
  /// The columns that an update wrote.
  SlotMask changed = 0;
  /// The new row; null for a removal, and where nobody has it.
  foundation::Ref<Row> row;
};

}  // namespace coredata
