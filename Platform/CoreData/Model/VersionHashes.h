#pragma once

#include <vector>

#include "CoreData/Model/ModelSource.h"
#include "CoreData/Model/NSEntityDescription.h"

namespace coredata {

/// What identifies a version of a model to the stores that it wrote.
struct VersionHashes {
  /// One per entity, in the order of names.
  std::vector<VersionHash> entities;
  /// One over all of them.
  VersionHash fingerprint{};

  friend bool operator==(const VersionHashes&, const VersionHashes&) = default;
};

/// The digest of what decides how the entity is stored. The entity is in its normal form.
///
/// Stores remember it for ever: any change of the scheme makes every store unrecognisable.
[[nodiscard]] VersionHash versionHash(const EntitySource& entity);

/// The hashes of a model in its normal form.
[[nodiscard]] VersionHashes versionHashes(const ModelSource& model);

/// Lower-case hexadecimal digits.
[[nodiscard]] std::string hexadecimal(const VersionHash& hash);

}  // namespace coredata
