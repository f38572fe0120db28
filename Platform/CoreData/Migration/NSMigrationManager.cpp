#include "CoreData/Migration/NSMigrationManager.h"

#include "CoreData/Migration/MigrationError.h"
#include "CoreData/Migration/MigrationRun.h"
#include "Foundation/Values/FatalError.h"

namespace coredata {

using foundation::Ref;
using foundation::URL;
using foundation::ValueDictionary;

namespace {

[[noreturn]] void stopOutsideMigration() {
  foundation::fatalError("a migration manager is asked about a migration that is not under way");
}

void requireType(std::string_view type) {
  if (type == NSSQLiteStoreType) return;
  throw migrationError(
      MigrationErrorCode::wrongModels,
      "There is no store type \"" + std::string(type) + "\"; stores are of type SQLite.");
}

}  // namespace

NSMigrationManager::NSMigrationManager(Ref<const NSManagedObjectModel> sourceModel,
                                       Ref<const NSManagedObjectModel> destinationModel)
    : sourceModel_(std::move(sourceModel)), destinationModel_(std::move(destinationModel)) {}

NSMigrationManager::~NSMigrationManager() = default;

void NSMigrationManager::migrateStore(const URL& from, std::string_view sourceType,
                                      const ValueDictionary& options,
                                      const Ref<const NSMappingModel>& with,
                                      const URL& toDestinationURL, std::string_view destinationType,
                                      const ValueDictionary& destinationOptions) {
  requireType(sourceType);
  requireType(destinationType);
  Run run(*this, with, toDestinationURL);
  run.openSource(from, options);
  run.migrate(destinationOptions);
}

const NSMappingModel& NSMigrationManager::mappingModel() const {
  if (run_ == nullptr) stopOutsideMigration();
  return run_->mappings();
}

NSManagedObjectContext& NSMigrationManager::sourceContext() const {
  if (run_ == nullptr) stopOutsideMigration();
  return run_->source();
}

NSManagedObjectContext& NSMigrationManager::destinationContext() const {
  if (run_ == nullptr) stopOutsideMigration();
  return run_->destination();
}

void NSMigrationManager::associate(NSManagedObject& source, NSManagedObject& destination,
                                   const NSEntityMapping& mapping) {
  if (run_ == nullptr) stopOutsideMigration();
  const std::size_t position = run_->plan().position(mapping.name());
  run_->associations(position).add(source.objectID()->key(), destination.objectID());
}

std::vector<Ref<NSManagedObject>> NSMigrationManager::destinationInstances(
    std::string_view forEntityMappingNamed,
    std::span<const Ref<NSManagedObject>> sourceInstances) const {
  if (run_ == nullptr) stopOutsideMigration();
  std::vector<Ref<NSManagedObject>> result;
  const std::size_t position = run_->plan().position(forEntityMappingNamed);
  if (position == run_->plan().mappings().size()) return result;
  const PlannedMapping& planned = run_->plan().mappings()[position];
  for (const Ref<NSManagedObject>& source : sourceInstances) {
    if (&source->entity() != planned.source || planned.destination == nullptr) continue;
    const ObjectKey key = source->objectID()->key();
    if (!planned.needsObjects) {
      result.push_back(run_->destination().object(*planned.destination, key));
      continue;
    }
    run_->associations(position).forEachDestination(key, [&](const NSManagedObjectID& identifier) {
      result.push_back(run_->destination().objectWithID(identifier));
    });
  }
  return result;
}

Ref<NSManagedObject> NSMigrationManager::sourceInstance(const NSManagedObject& destinationInstance,
                                                        const NSEntityMapping& mapping) const {
  if (run_ == nullptr) stopOutsideMigration();
  const std::size_t position = run_->plan().position(mapping.name());
  if (position == run_->plan().mappings().size()) return nullptr;
  const PlannedMapping& planned = run_->plan().mappings()[position];
  if (planned.source == nullptr) return nullptr;
  const Ref<NSManagedObjectID> identifier = destinationInstance.objectID();
  const ObjectKey key =
      planned.needsObjects ? run_->associations(position).sourceOf(*identifier) : identifier->key();
  return key == kNoObject ? nullptr : run_->source().object(*planned.source, key);
}

Ref<NSManagedObject> NSMigrationManager::insertDestinationInstance(const NSManagedObject& source,
                                                                   const NSEntityMapping& mapping) {
  if (run_ == nullptr) stopOutsideMigration();
  const std::size_t position = run_->plan().position(mapping.name());
  const PlannedMapping& planned = run_->plan().mappings().at(position);
  const ObjectKey key = source.objectID()->key();
  bool isTaken = !planned.keepsKeys;
  run_->associations(position).forEachDestination(
      key, [&](const NSManagedObjectID&) { isTaken = true; });
  const std::string& entity = planned.destination->name();
  return isTaken ? destinationContext().insertNewObject(entity)
                 : destinationContext().insertNewObject(entity, key);
}

}  // namespace coredata
