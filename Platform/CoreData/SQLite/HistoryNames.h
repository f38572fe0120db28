#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace coredata {

class Connection;

/// A row of the table of names; 0 is no name.
using HistoryNameId = std::int64_t;

/// The number of a text; 0 when the table does not have it.
[[nodiscard]] HistoryNameId findName(Connection& connection, std::string_view text);
[[nodiscard]] HistoryNameId insertName(Connection& connection, std::string_view text);
/// The text of a number; empty when the table does not have it.
[[nodiscard]] std::string nameText(Connection& connection, HistoryNameId id);

}  // namespace coredata
