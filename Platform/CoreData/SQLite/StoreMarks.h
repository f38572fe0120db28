#pragma once

#include <cstdint>
#include <string_view>

#include "CoreData/SQLite/SQLiteStore.h"

namespace coredata {

class Connection;

// Numbers that a store must not give out again although no row shows them any more: an entity's
// highest key after its row was deleted, under the entity's name, and the newest transaction after
// the history was cut or the content replaced.

/// The highest key that the entity is known to have used without a row to show for it; 0 when there
/// is none.
[[nodiscard]] std::int64_t keyMark(Connection& connection, std::string_view entityName);
[[nodiscard]] bool hasMark(Connection& connection, std::string_view name);
/// All raise a mark in the transaction that is open, and never lower one.
void raiseMark(Connection& connection, std::string_view name, std::int64_t value);
inline void raiseKeyMark(Connection& connection, std::string_view entityName, std::int64_t key) {
  raiseMark(connection, entityName, key);
}
void raiseHistoryMarks(Connection& connection, const HistoryPosition& position);

/// The newest transaction that any later one must exceed in number and stamp: the last recorded, or
/// the marks.
[[nodiscard]] HistoryPosition newestTransactionIn(Connection& connection);
/// The number of the last recorded one, or the mark where none is recorded. Behind a record the
/// mark may be later, which tells of transactions that the store had before its content was
/// replaced.
[[nodiscard]] std::int64_t newestRecordIn(Connection& connection);

}  // namespace coredata
