#pragma once

#include <optional>
#include <string>

#include "CoreData/SQLite/SQLiteStore.h"
#include "Tools/salvage/PrivateCopy.h"
#include "Tools/salvage/RowSearch.h"

namespace salvage {

/// What the tables that a store keeps for itself still say.
struct StoreRecords {
  foundation::ValueDictionary metadata;
  /// By entity, the highest key that a row ever had.
  std::map<std::string, coredata::ObjectKey> highestKeys;
  /// What later transactions must exceed.
  coredata::HistoryPosition history;
};

/// Reads of them what can be read. Never throws over what it finds; a number that no store comes to
/// is left out, since the new one would go on from it.
[[nodiscard]] StoreRecords storeRecords(const std::string& path);

/// Makes a store of the rows, with a history that is yet to begin, in one file that is on the disk
/// when this returns. Gives its path in the directory.
[[nodiscard]] std::string makeStore(
    const foundation::Ref<const coredata::NSManagedObjectModel>& model, const StoreRecords& records,
    RowSearch& rows, const WorkDirectory& directory);

/// Puts a finished file into its place, at once and only if nothing is there; a link counts as
/// something, wherever it leads. Throws `StoreErrorCode::exists`.
void publish(const std::string& file, const std::string& place);

}  // namespace salvage
