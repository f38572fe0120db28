#pragma once

#include <sqlite3.h>

#include <vector>

#include "Foundation/Predicate/Operand.h"

namespace coredata {

/// A list as the content of a table: what `list_members(?)` shows for the address of one of these.
/// Its members are absent, numbers, texts and bytes.
using ListMembers = std::vector<foundation::Operand>;

/// The name under which the address is bound; no SQL text can make such a value.
inline constexpr char kListPointerType[] = "coredata-list";

/// Makes the table function `list_members` known to a connection; its one column is `value`. Gives
/// SQLite's result.
[[nodiscard]] int installListTable(sqlite3* database) noexcept;

}  // namespace coredata
