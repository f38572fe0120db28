#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "CoreData/Rows/ObjectKey.h"
#include "CoreData/SQLite/Connection.h"
#include "CoreData/SQLite/SQLiteStore.h"
#include "Foundation/Values/Value.h"

namespace coredata {

/// Where a column of a copied row comes from.
struct CopiedColumn {
  enum class Source : std::uint8_t {
    nothing,   ///< absent, or `value` where there is one
    column,    ///< the old row's column `slot`, and `value` where that is absent
    referrer,  ///< the first row of `referring` whose column `slot` leads to the old row
  };

  Source source = Source::nothing;
  SlotIndex slot = kNoSlot;
  const NSEntityDescription* referring = nullptr;
  /// A number, a text or none.
  foundation::Value value;
};

/// How the rows of an entity of one model become rows of an entity of another. They keep their
/// keys and versions.
struct RowCopy {
  const NSEntityDescription* from = nullptr;
  const NSEntityDescription* to = nullptr;
  /// By slot of `to`.
  std::vector<CopiedColumn> columns;
};

/// Copies rows from one store file into another inside SQLite, so that no row becomes an object.
/// Tables that are laid out alike are copied without looking into their rows.
///
/// The destination is a scratch store that nobody else has open: nothing of it is synced. The
/// source is read without changing or disturbing it, in one state from the first copy to `commit`.
///
/// Threading: one thread at a time. Throws `foundation::Error` from every operation; what was not
/// committed is then undone.
class RowTransfer {
 public:
  RowTransfer(const std::string& sourcePath, const std::string& destinationPath);

  /// How many rows there are to copy.
  [[nodiscard]] std::int64_t count(const NSEntityDescription& from);
  /// Copies them and returns their number.
  std::int64_t copy(const RowCopy& rows);
  /// Keeps `to` from giving out a key that `from` ever gave out.
  void keepKeys(const NSEntityDescription& from, const NSEntityDescription& to);
  /// Lets the numbers and stamps of the history go on behind those of the source.
  void keepHistoryPosition(const HistoryPosition& position);
  void commit();

 private:
  Connection connection_;
};

/// What became of the row of an old key.
struct MovedKey {
  ObjectKey from;
  ObjectKey to;
};

/// Makes the column of a scratch store that holds old keys hold the new ones, the first where an
/// old key stands there twice, and nothing where it does not.
void redirectReferences(const std::string& path, const NSEntityDescription& entity, SlotIndex slot,
                        std::span<const MovedKey> moved);

}  // namespace coredata
