#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "Tools/habits/Migration/PlannedMigration.h"

namespace habits {

/// What became of an entity and its attributes after several steps.
struct EntityTrail {
  std::string before;
  /// None when the entity is dropped on the way.
  std::optional<std::string> after;
  /// The stored attributes whose values are carried over, by their first names.
  std::map<std::string, std::string> attributes;
};

/// For each entity of the version that the steps start from.
[[nodiscard]] std::vector<EntityTrail> trailsThrough(const Steps& steps);

}  // namespace habits
