#pragma once

#include <cstdint>
#include <optional>

#include "CoreData/SQLite/HistoryNames.h"
#include "CoreData/SQLite/SQLiteStore.h"

namespace coredata {

class Connection;

// Up to which number an author's transactions reach, so that "is there anything that is not mine?"
// is answered without a walk through all that is mine. An index on the authors would answer it
// too, but every save would write a page more for it. A mark is written only when the next
// transaction has another author; that of the newest one is in its row.

/// The end of the history, as whoever writes the next transaction knows it.
struct HistoryTail {
  HistoryPosition newest;
  /// Who made the newest transaction (0 for nobody named); none where no row shows it.
  std::optional<HistoryNameId> author;
  /// Whether the store has begun to keep these marks.
  bool keepsAuthors = false;
};

/// Reads the tail.
[[nodiscard]] HistoryTail historyTailIn(Connection& connection);

/// In the transaction that records one of `author` behind the tail.
void raiseAuthorMarks(Connection& connection, const HistoryTail& tail, HistoryNameId author);

/// No transaction of the author has a higher number than this. The last of them may be lower.
[[nodiscard]] std::int64_t lastNumberOf(Connection& connection, HistoryNameId author);
/// The same for all authors but that one.
[[nodiscard]] std::int64_t lastNumberOfOthers(Connection& connection, HistoryNameId author);

}  // namespace coredata
