#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Tools/habits/Answer.h"
#include "Tools/habits/Migration/PlannedMigration.h"

namespace habits {

/// How an entity came through a migration.
struct EntityBalance {
  /// The new name; the old one of an entity that is dropped.
  std::string name;
  /// None for an entity that is new.
  std::optional<std::int64_t> rowsBefore;
  /// None for one that is dropped.
  std::optional<std::int64_t> rowsAfter;
  /// Values that were absent, and are there now.
  std::int64_t valuesFilledIn = 0;
};

/// How a rehearsal ended.
struct Balance {
  std::vector<EntityBalance> entities;
  /// Photos whose files are in the store now.
  std::int64_t photosFolded = 0;
  /// The names of files that the store has and the photo directory has not, one for each photo:
  /// each would have stopped the real migration. Empty for a photo without a name.
  std::vector<std::string> filesMissing;
};

/// Migrates copies of the store and of the photo directories, all in the temporary directory, which
/// holds nothing of them afterwards. The store and the photos themselves are only read.
///
/// Where photo files are missing, other ones take their places in the copy, so that all of them are
/// found, and what comes after them.
///
/// Throws `Refusal` when the user stops it, and `foundation::Error`s of the store, the file manager
/// and the migration.
[[nodiscard]] Balance rehearse(const foundation::URL& store, const Steps& steps);

[[nodiscard]] Answer answerOf(const Balance& balance, const std::string& storePath);

}  // namespace habits
