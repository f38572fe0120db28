#pragma once

#include <sqlite3.h>

namespace coredata {

/// Makes the text functions of translated predicates known to a connection: `text_begins`,
/// `text_ends`, `text_contains`, `text_like` and `text_equals`, each also with `_folded` for
/// comparisons that ignore case. They answer 1 or 0 by the rules that memory follows; two absent
/// values are equal. Gives SQLite's result.
[[nodiscard]] int installTextFunctions(sqlite3* database) noexcept;

}  // namespace coredata
