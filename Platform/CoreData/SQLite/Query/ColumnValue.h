#pragma once

#include <string>
#include <string_view>

#include "CoreData/SQLite/Query/CompiledQuery.h"
#include "CoreData/SQLite/Query/ObjectArguments.h"
#include "Foundation/Predicate/Operand.h"

namespace coredata {

/// The value as SQLite has to see it beside a column of that type, so that its comparison comes out
/// as in memory; a view of `value` where that is not a number. `Operand::other()` for one that no
/// such column can hold, not-a-number included.
[[nodiscard]] foundation::Operand columnValue(const foundation::Value& value,
                                              const ColumnType& type, QueryParameter::Role role,
                                              const ObjectArguments& objects);

/// A value that is there and that no column of the type equals: of a kind that it never holds.
[[nodiscard]] foundation::Operand unequalValue(const ColumnType& type) noexcept;

/// The least text, by bytes, that is greater than every text with the prefix. Empty when there is
/// none.
[[nodiscard]] std::string prefixEnd(std::string_view prefix);

}  // namespace coredata
