#pragma once

#include <cstdint>

#include "CoreData/Fetching/ResolvedPath.h"

namespace coredata {

/// What the values of an SQL expression are.
enum class ColumnKind : std::uint8_t {
  integer,     ///< a whole number or a Boolean
  real,        ///< a double
  date,        ///< a double that compares with dates only
  text,        ///< UTF-8
  bytes,       ///< binary data
  identifier,  ///< the 16 bytes of a UUID
  reference,   ///< the key of an object
  collection,  ///< the owner of a to-many: it compares with nothing, but may be absent
};

/// The kind of an SQL expression and, for a reference, the entity that it leads to.
struct ColumnType {
  ColumnKind kind = ColumnKind::integer;
  const NSEntityDescription* entity = nullptr;
};

/// What an attribute holds.
[[nodiscard]] ColumnType columnType(NSAttributeType type) noexcept;
/// What a path reads.
[[nodiscard]] ColumnType columnType(const ResolvedPath& path) noexcept;

/// Whether values of the two types can be equal. Otherwise they are only when both are absent.
[[nodiscard]] bool areComparable(const ColumnType& left, const ColumnType& right) noexcept;

/// Whether one value of the type can be less than another.
[[nodiscard]] bool isOrdered(const ColumnType& type) noexcept;

}  // namespace coredata
