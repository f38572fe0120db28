#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "CoreData/Rows/ObjectKey.h"
#include "CoreData/SQLite/RowChange.h"

namespace coredata {

/// A text of the history by its place in `HistoryRecords::names`.
using HistoryName = std::uint32_t;

/// What the history holds of one transaction.
struct HistoryTransactionRecord {
  std::int64_t number = 0;
  /// Seconds since the reference date, as stored.
  double timestamp = 0;
  std::int64_t process = 0;
  HistoryName author = 0;
  HistoryName contextName = 0;
  HistoryName bundle = 0;
  /// Its changes are so many from there on in `HistoryRecords::changes`.
  std::uint32_t changeCount = 0;
  std::size_t firstChange = 0;
};

/// What it holds of one change of a row.
struct HistoryChangeRecord {
  ObjectKey key = kNoObject;
  /// The columns that an update wrote; none for the other kinds.
  SlotMask changed = 0;
  /// The place in its transaction, from 1.
  std::uint32_t sequence = 0;
  EntityIndex entity = 0;
  RowChangeKind kind = RowChangeKind::insert;
};

/// Transactions by ascending number, with their changes in one piece.
struct HistoryRecords {
  std::vector<HistoryTransactionRecord> transactions;
  std::vector<HistoryChangeRecord> changes;
  /// The first one is for what has no name.
  std::vector<std::optional<std::string>> names{std::nullopt};
};

}  // namespace coredata
