#include "CoreData/Migration/MigrationRun.h"

#include <algorithm>
#include <new>

#include "CoreData/Context/SaveError.h"
#include "CoreData/Coordinator/NSPersistentStoreCoordinator.h"
#include "CoreData/Fetching/NSFetchRequest.h"
#include "CoreData/Migration/MigrationError.h"
#include "CoreData/SQLite/RowTransfer.h"
#include "Foundation/Predicate/NSCompoundPredicate.h"
#include "Foundation/Values/FatalError.h"

namespace coredata {

using foundation::make;
using foundation::NSCompoundPredicate;
using foundation::NSPredicate;
using foundation::Ref;
using foundation::URL;
using foundation::ValueDictionary;

namespace {

NSPersistentStoreDescription described(const URL& url, const ValueDictionary& options) {
  NSPersistentStoreDescription description(url);
  for (const auto& [key, value] : options) description.setOption(value, key);
  return description;
}

Ref<NSManagedObjectContext> contextOver(const Ref<NSPersistentStoreCoordinator>& coordinator) {
  return make<NSManagedObjectContext>(coordinator,
                                      NSManagedObjectContextConcurrencyType::privateQueue);
}

/// Without memory for it the store is closed by the last who holds the context, which is nearly
/// always the run.
void removeStores(const Ref<NSManagedObjectContext>& context) noexcept {
  if (!context) return;
  const Ref<NSPersistentStoreCoordinator>& coordinator = context->persistentStoreCoordinator();
  try {
    if (const auto store = coordinator->store()) coordinator->removePersistentStore(store);
  } catch (const std::bad_alloc&) {
    return;
  }
}

std::string pathOf(const URL& url) {
  if (auto path = url.filePath()) return *path;
  throw migrationError(MigrationErrorCode::destinationExists,
                       "A store lies in a file, which " + url.absoluteString() + " does not name.");
}

std::vector<std::string> mandatoryProperties(const NSEntityDescription& entity) {
  std::vector<std::string> names;
  for (const Slot& slot : entity.slots()) {
    if (!slot.property->isOptional()) names.push_back(slot.property->name());
  }
  return names;
}

/// The objects that lack any of the properties.
NSPredicate lacking(const std::vector<std::string>& properties) {
  std::vector<NSPredicate> lacks;
  for (const std::string& name : properties) {
    lacks.push_back(NSPredicate::format("%K == nil", name));
  }
  return NSCompoundPredicate::orPredicate(lacks);
}

}  // namespace

NSMigrationManager::Run::Run(NSMigrationManager& manager, Ref<const NSMappingModel> mappings,
                             URL destination)
    : manager_(manager),
      mappings_(std::move(mappings)),
      destinationURL_(std::move(destination)),
      destinationPath_(pathOf(destinationURL_)),
      plan_(*mappings_, *manager.sourceModel_, *manager.destinationModel_),
      progress_(foundation::Progress::progress(0)),
      associations_(plan_.mappings().size()),
      policies_(plan_.mappings().size()) {
  manager_.run_ = this;
}

NSMigrationManager::Run::~Run() {
  manager_.run_ = nullptr;
  // Open stores would be in the way of whoever replaces or destroys the files next.
  removeStores(source_);
  removeStores(destination_);
}

NSManagedObjectContext& NSMigrationManager::Run::destination() const {
  if (!destination_) foundation::fatalError("a migration's destination is used before it is there");
  return *destination_;
}

void NSMigrationManager::Run::openSource(const URL& url, const ValueDictionary& options) {
  sourcePath_ = pathOf(url);
  NSPersistentStoreDescription description = described(url, options);
  description.setReadOnly(true);
  source_ = contextOver(make<NSPersistentStoreCoordinator>(manager_.sourceModel_));
  sourceStore_ = source_->persistentStoreCoordinator()->addPersistentStore(description);
}

void NSMigrationManager::Run::migrate(const ValueDictionary& destinationOptions) {
  // An unknown policy must be found out before anything is written.
  makePolicies();
  createDestination();
  copyRows();
  if (!plan_.needsObjects()) return;
  openDestination(destinationOptions);
  runPolicies();
}

void NSMigrationManager::Run::makePolicies() {
  for (std::size_t i = 0; i < policies_.size(); ++i) {
    const PlannedMapping& planned = plan_.mappings()[i];
    if (!planned.needsObjects) continue;
    const auto& className = planned.mapping->entityMigrationPolicyClassName();
    policies_[i] =
        className ? NSEntityMigrationPolicy::ofClass(*className) : make<NSEntityMigrationPolicy>();
  }
}

void NSMigrationManager::Run::createDestination() {
  StoreOptions options(destinationURL_);
  options.isScratch = true;
  options.buildsIndexes = false;
  options.newIdentifier = sourceStore_->engine()->identifier();
  options.newMetadata = sourceStore_->metadata();
  SQLiteStore::open(options, manager_.destinationModel_)->close();
}

void NSMigrationManager::Run::copyRows() {
  RowTransfer transfer(sourcePath_, destinationPath_);
  expectRows(transfer);
  transfer.keepHistoryPosition(sourceStore_->engine()->newestTransaction());
  for (const PlannedMapping& planned : plan_.mappings()) {
    if (planned.source == nullptr || planned.destination == nullptr) continue;
    transfer.keepKeys(*planned.source, *planned.destination);
    if (!planned.needsObjects) report(planned, transfer.copy(planned.copy));
  }
  transfer.commit();
}

void NSMigrationManager::Run::expectRows(RowTransfer& transfer) {
  std::int64_t rows = 0;
  for (const PlannedMapping& planned : plan_.mappings()) {
    if (planned.source != nullptr && planned.destination != nullptr) {
      rows += transfer.count(*planned.source);
    }
  }
  progress_->setTotalUnitCount(rows);
}

void NSMigrationManager::Run::report(const PlannedMapping& planned, std::int64_t rows) const {
  progress_->setUserInfoObject(planned.mapping->name(), kMigrationMappingKey);
  progress_->addCompletedUnits(rows);
  if (!progress_->isCancelled()) return;
  throw migrationError(MigrationErrorCode::cancelled, "The migration was stopped.");
}

void NSMigrationManager::Run::openDestination(const ValueDictionary& options) {
  NSPersistentStoreDescription description = described(destinationURL_, options);
  description.setOption(true, kScratchStoreOption);
  description.setOption(true, kDefersIndexesOption);
  destination_ = contextOver(make<NSPersistentStoreCoordinator>(manager_.destinationModel_));
  destination_->persistentStoreCoordinator()->addPersistentStore(description);
  destination_->performBlockAndWait([this] { destination_->setSavesUnfinishedObjects(true); });
}

template <typename Work>
void NSMigrationManager::Run::inTurn(Work&& work) {
  source_->performBlockAndWait([&] { destination_->performBlockAndWait([&] { work(); }); });
}

void NSMigrationManager::Run::runPolicies() {
  inTurn([this] {
    createInstances();
    destination_->save();
    destination_->reset();
  });
  // Between two turns nobody reads the destination, so its rows may be changed past its context.
  settleReferences();
  inTurn([this] {
    createRelationships();
    destination_->save();
    finishMappings();
    requireMandatoryValues();
  });
}

void NSMigrationManager::Run::createInstances() {
  for (std::size_t i = 0; i < policies_.size(); ++i) {
    if (policies_[i]) createInstances(i);
  }
}

void NSMigrationManager::Run::createInstances(std::size_t position) {
  const PlannedMapping& planned = plan_.mappings()[position];
  const NSEntityMapping& mapping = *planned.mapping;
  NSEntityMigrationPolicy& policy = *policies_[position];
  policy.beginEntityMapping(mapping, manager_);
  if (planned.source != nullptr) {
    NSFetchRequest<NSManagedObject> request(planned.source->name());
    request.setFetchBatchSize(kBatch);
    std::size_t count = 0;
    for (const Ref<NSManagedObject>& object : source_->fetch(request)) {
      policy.createDestinationInstances(*object, mapping, manager_);
      if (++count % kBatch != 0) continue;
      destination_->save();
      source_->rollback();
      report(planned, kBatch);
    }
    source_->rollback();
    report(planned, static_cast<std::int64_t>(count % kBatch));
  }
  policy.endInstanceCreation(mapping, manager_);
}

void NSMigrationManager::Run::createRelationships() {
  for (std::size_t i = 0; i < policies_.size(); ++i) {
    if (!policies_[i]) continue;
    const NSEntityMapping& mapping = *plan_.mappings()[i].mapping;
    std::size_t count = 0;
    for (const InstanceAssociations::Pair& pair : associations_[i].pairs()) {
      const Ref<NSManagedObject> object = destination_->objectWithID(*pair.destination);
      policies_[i]->createRelationships(*object, mapping, manager_);
      if (++count % kBatch == 0) destination_->save();
    }
    policies_[i]->endRelationshipCreation(mapping, manager_);
  }
}

void NSMigrationManager::Run::finishMappings() {
  for (std::size_t i = 0; i < policies_.size(); ++i) {
    if (!policies_[i]) continue;
    const NSEntityMapping& mapping = *plan_.mappings()[i].mapping;
    policies_[i]->performCustomValidation(mapping, manager_);
    policies_[i]->endEntityMapping(mapping, manager_);
    // What the next mapping's end finds in the store includes what this one left unsaved.
    destination_->save();
  }
}

void NSMigrationManager::Run::requireMandatoryValues() {
  std::vector<foundation::Error> errors;
  for (const NSEntityDescription* entity : manager_.destinationModel_->entities()) {
    const std::vector<std::string> properties = mandatoryProperties(*entity);
    if (properties.empty()) continue;
    NSFetchRequest<NSManagedObject> request(entity->name());
    request.setPredicate(lacking(properties));
    for (const Ref<NSManagedObject>& object : destination_->fetch(request)) {
      for (const std::string& name : properties) {
        if (!object->valueForKey(name).isNone()) continue;
        errors.push_back(missingValueError(name, object->description()));
      }
    }
  }
  if (!errors.empty()) throwSaveErrors(errors);
}

bool NSMigrationManager::Run::keptEveryKey(std::size_t position) {
  const auto pairs = associations_[position].pairs();
  NSFetchRequest<NSManagedObject> all(plan_.mappings()[position].source->name());
  const std::int64_t expected = source_->performBlockAndWait([&] { return source_->count(all); });
  return static_cast<std::size_t>(expected) == pairs.size() &&
         std::ranges::all_of(pairs, [](const InstanceAssociations::Pair& pair) {
           return pair.source == pair.destination->key();
         });
}

void NSMigrationManager::Run::settleReferences() {
  std::vector<bool> isToSettle(policies_.size());
  for (std::size_t i = 0; i < policies_.size(); ++i) {
    isToSettle[i] = policies_[i] && plan_.mappings()[i].source != nullptr && !keptEveryKey(i);
  }
  for (const PlannedMapping& planned : plan_.mappings()) {
    if (planned.needsObjects) continue;
    for (const PlannedMapping::Reference& reference : planned.references) {
      if (!isToSettle[reference.target]) continue;
      std::vector<MovedKey> moved;
      for (const InstanceAssociations::Pair& pair : associations_[reference.target].pairs()) {
        moved.push_back({pair.source, pair.destination->key()});
      }
      redirectReferences(destinationPath_, *planned.destination, reference.slot, moved);
    }
  }
}

}  // namespace coredata
