#pragma once

#include <string_view>
#include <vector>

#include "CoreDataStack/CoreDataMigrationStep.h"
#include "CoreDataStack/CoreDataMigratorProtocol.h"

namespace coredatastack {

/// In the user info of a migration's progress: the name of the version that is being made; absent
/// before the first step, and while the new store is put in place. What a step is about, its own
/// progress tells (`kMigrationMappingKey`).
inline constexpr std::string_view kMigrationStepKey = "CDSMigrationStep";

/// Brings a store forward one version at a time: each step writes a new store into the temporary
/// directory, and only after the last one takes the store's own file over what was made.
///
/// - The store is claimed for all of it, so that of two processes that start on one old store the
///   second finds a new one and has nothing to do.
/// - A step that fails leaves the store as it was. What it had written stays in the temporary
///   directory, which whoever calls empties beforehand.
/// - What another process saves meanwhile is never lost: the migration is refused at its end with
///   `StoreErrorCode::changedMeanwhile`, and the store stays.
/// - Photos that lie in files are folded into the store by the step from version 6. Their files are
///   set aside while that is under way, and removed once the store has them for good.
///
/// Threading: any thread; a call returns when all is done. The temporary directory belongs to
/// whoever holds its lock.
class CoreDataMigrator final : public CoreDataMigratorProtocol {
 public:
  CoreDataMigrator();

  /// Throws `CoreDataMigratorError::unknownStoreVersion`, an error of a step unchanged,
  /// `MigrationErrorCode::noSpace` before a step that the disk has no room for, and errors of the
  /// claim. Stops the process where a store cannot be added, destroyed or replaced. Makes a
  /// discrete progress with a unit for each step.
  void migrateStore(const foundation::URL& at, const CoreDataMigrationVersion& to) override;
  [[nodiscard]] bool requiresMigration(const foundation::URL& at,
                                       const CoreDataMigrationVersion& to) const override;

  /// Folds the store's log into its file, as far as others who have it open allow. Without
  /// metadata, or without a model for them in the main bundle, nothing happens.
  void checkpointStore(const foundation::URL& at) const;
  /// The steps from the store's version to that one. Throws
  /// `CoreDataMigratorError::unknownStoreVersion`.
  [[nodiscard]] std::vector<CoreDataMigrationStep> migrationSteps(
      const foundation::URL& forStoreAt, const CoreDataMigrationVersion& to) const;
  /// None between equal versions; up to the last version where `to` is older.
  [[nodiscard]] std::vector<CoreDataMigrationStep> migrationSteps(
      const CoreDataMigrationVersion& from, const CoreDataMigrationVersion& to) const;
};

}  // namespace coredatastack
