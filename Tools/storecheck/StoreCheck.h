#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "CoreData/SQLite/StoreInspection.h"
#include "Foundation/Values/URL.h"
#include "Foundation/Values/Value.h"
#include "Tools/storecheck/Findings.h"
#include "Tools/storecheck/History.h"

namespace storecheck {

/// What is known of a store after a look at all of it.
struct Report {
  /// The name of its version, such as "Tessaline 7".
  std::string version;
  /// Empty when it does not tell.
  std::string identifier;
  foundation::ValueDictionary metadata;
  /// How many rows each entity has, of those that can be read.
  std::map<std::string, std::int64_t> rows;
  coredata::StoreSizes sizes;
  /// Of tables and indexes. None in a damaged file, and when this SQLite does not tell.
  std::optional<std::map<std::string, std::int64_t>> bytesByTable;
  History history;
  Findings findings;
  /// See `ContentHash`. None when not all rows can be read.
  std::optional<std::string> contentHash;

  /// Whether there is nothing wrong with it but perhaps what a model allows.
  [[nodiscard]] bool isSound() const noexcept { return findings.count(Severity::error) == 0; }
};

/// Looks at everything in a store of any version. It is opened for reading only: neither it nor
/// what lies beside it is changed, made or removed, and whoever has it open may go on using it.
/// Damage becomes findings as long as it can be told what the store should hold.
///
/// Of the history's newest transactions as many are told one by one as `lastTransactions` says.
///
/// Throws `foundation::Error` when there is no telling: no store, no permission, no metadata
/// (`StoreErrorCode::damaged`), a version that this library does not know (`newerVersion`,
/// `incompatibleModel`), and `busy` when the store is opened, changed and closed over and over.
///
/// Memory: some tens of bytes for each row, however large its values are.
///
/// Threading: on any thread; but meanwhile its process must not open the store anew, see
/// `coredata::StoreInspection`.
[[nodiscard]] Report check(const foundation::URL& store, std::size_t lastTransactions = 0);

}  // namespace storecheck
