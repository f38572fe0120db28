#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "CoreDataStack/CoreDataMigrationStep.h"
#include "CoreDataStack/CoreDataMigrationVersion.h"
#include "Foundation/Values/URL.h"
#include "Tools/habits/Answer.h"
#include "Tools/habits/Migration/SchemaChanges.h"

namespace habits {

/// What one step of a migration will do.
struct PlannedStep {
  std::string from;
  std::string to;
  bool isInferred = false;
  std::vector<SchemaChange> changes;
  /// The rows that go into the step, by entity.
  std::map<std::string, std::int64_t> rows;
};

/// Room on a disk, in bytes.
struct PlannedSpace {
  std::string directory;
  std::uint64_t needed = 0;
  std::uint64_t available = 0;
};

/// What bringing a store to the newest version will do, found out without changing it.
struct PlannedMigration {
  std::vector<PlannedStep> steps;
  /// Where the steps write, and where the store lies.
  std::vector<PlannedSpace> space;
};

using Steps = std::vector<coredatastack::CoreDataMigrationStep>;

/// Throws the store's `foundation::Error`.
[[nodiscard]] PlannedMigration planned(const foundation::URL& store, const Steps& steps);
/// The room that the steps take in the temporary directory when they are at their largest.
[[nodiscard]] std::uint64_t spaceForSteps(const foundation::URL& store, const Steps& steps);
/// The room that the new store takes beside the old one.
[[nodiscard]] std::uint64_t spaceForNewStore(const foundation::URL& store);

[[nodiscard]] Answer answerOf(const PlannedMigration& plan, const std::string& storePath);

}  // namespace habits
