#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "CoreData/SQLite/HistoryReader.h"
#include "Tests/CoreData/SQLite/StoreFixture.h"

namespace shelf {

/// A history that is written straight into a store's tables, which nobody may have open: numbers
/// from the first one up, stamps equal to them, all by one author.
struct WrittenHistory {
  std::int64_t first = 1;
  std::int64_t transactions = 0;
  std::int64_t changesOfEach = 1;
  std::string author = "app";
  /// Whether the store keeps marks of its authors, as one that was made by this version.
  bool hasMarks = true;
};
void writeHistory(const StoreFile& file, const WrittenHistory& history);

/// The numbers of all transactions, each followed by how many changes it has: "3:1 4:1".
[[nodiscard]] std::string historyOf(const coredata::HistoryRecords& records);

/// Everything within the bounds.
[[nodiscard]] coredata::HistoryRecords readHistory(coredata::ReadSession& session,
                                                   const coredata::HistoryBounds& bounds = {});

/// Bounds for an author who is wanted, or is not.
[[nodiscard]] coredata::HistoryBounds authored(std::optional<std::string> name);
[[nodiscard]] coredata::HistoryBounds notAuthored(std::optional<std::string> name);

}  // namespace shelf
