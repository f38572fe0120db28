#include "CoreDataStack/CoreDataMigrator.h"

#include <chrono>
#include <optional>
#include <string>

#include "CoreData/Coordinator/NSPersistentStoreCoordinator.h"
#include "CoreData/Migration/NSMigrationManager.h"
#include "CoreData/SQLite/StoreClaim.h"
#include "CoreDataStack/CoreDataMigratorError.h"
#include "CoreDataStack/LeftoverPhotos.h"
#include "CoreDataStack/MigrationSpace.h"
#include "CoreDataStack/MurtelleMigrationPolicyV6toV7.h"
#include "CoreDataStack/NSPersistentStoreCoordinator+Migration.h"
#include "CoreDataStack/SetAsidePhotos.h"
#include "Foundation/Files/Bundle.h"
#include "Foundation/Files/FileManager.h"
#include "Foundation/Progress/Progress.h"
#include "Foundation/Values/Error.h"
#include "Foundation/Values/FatalError.h"
#include "Foundation/Values/UUID.h"

namespace coredatastack {

using coredata::NSManagedObjectModel;
using coredata::NSMigrationManager;
using coredata::NSPersistentStoreCoordinator;
using coredata::NSSQLiteStoreType;
using foundation::make;
using foundation::Progress;
using foundation::Ref;
using foundation::URL;
using foundation::ValueDictionary;

namespace {

/// Longer than any migration of a person's store takes.
constexpr std::chrono::minutes kClaimLimit{5};

URL newTemporaryStore() {
  const URL directory = URL::fileURL(foundation::NSTemporaryDirectory());
  return directory.appendingPathComponent(foundation::UUID().uuidString());
}

std::string versionName(const NSManagedObjectModel& model) {
  const auto& names = model.versionIdentifiers();
  return names.empty() ? std::string() : *names.begin();
}

void migrate(const URL& from, const CoreDataMigrationStep& step, const URL& to) {
  const auto manager = make<NSMigrationManager>(step.sourceModel, step.destinationModel);
  manager->migrateStore(from, NSSQLiteStoreType, {}, step.mappingModel, to, NSSQLiteStoreType, {});
}

void putPhotosBack(const URL& store) {
  if (const auto photos = SetAsidePhotos::ofStore(store)) photos->putBack();
}

/// For where another error is on its way already; the next migration of the store tries again.
void tryToPutPhotosBack(const URL& store) {
  try {
    putPhotosBack(store);
  } catch (const foundation::Error& error) {
    foundation::print(error.description());
  }
}

/// Goes through the steps and puts what the last one made into the store's place.
void take(const std::vector<CoreDataMigrationStep>& steps, const URL& store) {
  // Putting the new store in place counts as a step.
  const auto progress = Progress::progress(static_cast<std::int64_t>(steps.size()) + 1);
  URL current = store;
  for (const CoreDataMigrationStep& step : steps) {
    progress->setUserInfoObject(versionName(*step.destinationModel), kMigrationStepKey);
    requireSpaceForStep(current, step);
    const URL destination = newTemporaryStore();
    progress->performAsCurrent(1, [&] { migrate(current, step, destination); });
    if (current != store) destroyStore(current);
    current = destination;
  }
  progress->setUserInfoObject({}, kMigrationStepKey);
  if (current != store) {
    coredata::SQLiteStore::buildIndexes(coredata::StoreOptions(current),
                                        steps.back().destinationModel);
    requireSpaceForReplacement(store, current);
  }
  replaceStore(store, current);
  if (current != store) destroyStore(current);
  progress->setCompletedUnitCount(progress->totalUnitCount());
}

/// The store is new whatever becomes of the files of its photos, so an error is no reason to say
/// that it was not migrated; the next opening of the store tries again.
void discardFoldedPhotos(const URL& store) {
  try {
    discardLeftoverPhotos(store);
  } catch (const foundation::Error& error) {
    foundation::print(error.description());
  }
}

}  // namespace

CoreDataMigrator::CoreDataMigrator() { MurtelleMigrationPolicyV6toV7::registerClass(); }

void CoreDataMigrator::migrateStore(const URL& at, const CoreDataMigrationVersion& to) {
  if (!storeMetadata(at)) throw CoreDataMigratorError::unknownStoreVersion(at);
  // A restore has the claim already, from before it touched the store.
  const coredata::HeldClaim claim(at, kClaimLimit);
  checkpointStore(at);
  const std::vector<CoreDataMigrationStep> steps = migrationSteps(at, to);
  if (!steps.empty()) {
    claim->markRead();
    putPhotosBack(at);
  }
  try {
    take(steps, at);
  } catch (...) {
    // The store goes on as it was, perhaps with a program of its own version, and needs its photos.
    if (!steps.empty()) tryToPutPhotosBack(at);
    throw;
  }
  discardFoldedPhotos(at);
}

bool CoreDataMigrator::requiresMigration(const URL& at, const CoreDataMigrationVersion& to) const {
  const std::optional<ValueDictionary> metadata = storeMetadata(at);
  return metadata && CoreDataMigrationVersion::storeVersion(*metadata) != to;
}

void CoreDataMigrator::checkpointStore(const URL& at) const {
  const std::optional<ValueDictionary> metadata = storeMetadata(at);
  if (!metadata) return;
  const auto models = foundation::Bundle::main().urls("momd");
  const Ref<const NSManagedObjectModel> model =
      NSManagedObjectModel::mergedModel(models, *metadata);
  if (!model) return;
  const auto coordinator = make<NSPersistentStoreCoordinator>(model);
  const ValueDictionary pragmas{{"journal_mode", "DELETE"}};
  const auto store =
      addSQLiteStore(*coordinator, at, {{std::string(coredata::NSSQLitePragmasOption), pragmas}});
  coordinator->removePersistentStore(store);
}

std::vector<CoreDataMigrationStep> CoreDataMigrator::migrationSteps(
    const URL& forStoreAt, const CoreDataMigrationVersion& to) const {
  const std::optional<ValueDictionary> metadata = storeMetadata(forStoreAt);
  if (!metadata) throw CoreDataMigratorError::unknownStoreVersion(forStoreAt);
  const auto version = CoreDataMigrationVersion::storeVersion(*metadata);
  if (!version) throw CoreDataMigratorError::unknownStoreVersion(forStoreAt);
  return migrationSteps(*version, to);
}

std::vector<CoreDataMigrationStep> CoreDataMigrator::migrationSteps(
    const CoreDataMigrationVersion& from, const CoreDataMigrationVersion& to) const {
  std::vector<CoreDataMigrationStep> steps;
  CoreDataMigrationVersion current = from;
  while (current != to) {
    const auto next = current.next();
    if (!next) break;
    steps.emplace_back(current, *next);
    current = *next;
  }
  return steps;
}

}  // namespace coredatastack
