#include "CoreData/Migration/NSEntityMigrationPolicy.h"

#include <map>
#include <mutex>

#include "CoreData/Migration/ExpressionEvaluation.h"
#include "CoreData/Migration/MigrationError.h"
#include "CoreData/Migration/NSMigrationManager.h"

namespace coredata {

using foundation::Ref;
using foundation::Value;

namespace {

struct Registry {
  std::mutex mutex;
  std::map<std::string, NSEntityMigrationPolicy::Factory, std::less<>> factories;
};

Registry& registry() {
  // Never destroyed: a migration may run while the process ends.
  static auto* const shared = new Registry;
  return *shared;
}

/// What a relationship is set to: expressions give lists of objects also where one is meant.
Value relationshipValue(const NSRelationshipDescription& relationship, Value value) {
  if (relationship.isToMany() || value.list() == nullptr) return value;
  return value.list()->empty() ? Value() : value.list()->front();
}

}  // namespace

void NSEntityMigrationPolicy::beginEntityMapping(const NSEntityMapping&, NSMigrationManager&) {}
void NSEntityMigrationPolicy::endInstanceCreation(const NSEntityMapping&, NSMigrationManager&) {}
void NSEntityMigrationPolicy::endRelationshipCreation(const NSEntityMapping&, NSMigrationManager&) {
}
void NSEntityMigrationPolicy::performCustomValidation(const NSEntityMapping&, NSMigrationManager&) {
}
void NSEntityMigrationPolicy::endEntityMapping(const NSEntityMapping&, NSMigrationManager&) {}

void NSEntityMigrationPolicy::createDestinationInstances(NSManagedObject& sourceInstance,
                                                         const NSEntityMapping& mapping,
                                                         NSMigrationManager& manager) {
  if (!mapping.destinationEntityName()) return;
  const Ref<NSManagedObject> made = manager.insertDestinationInstance(sourceInstance, mapping);
  const ExpressionSubjects subjects{&sourceInstance, made.get(), &manager, this};
  for (const NSPropertyMapping& property : mapping.attributeMappings()) {
    made->setValue(mappedValue(property, subjects), property.name());
  }
  manager.associate(sourceInstance, *made, mapping);
}

void NSEntityMigrationPolicy::createRelationships(NSManagedObject& destinationInstance,
                                                  const NSEntityMapping& mapping,
                                                  NSMigrationManager& manager) {
  if (mapping.relationshipMappings().empty()) return;
  const Ref<NSManagedObject> source = manager.sourceInstance(destinationInstance, mapping);
  const ExpressionSubjects subjects{source.get(), &destinationInstance, &manager, this};
  for (const NSPropertyMapping& property : mapping.relationshipMappings()) {
    const NSRelationshipDescription* relationship =
        destinationInstance.entity().relationship(property.name());
    Value value = mappedValue(property, subjects);
    if (relationship != nullptr) value = relationshipValue(*relationship, std::move(value));
    destinationInstance.setValue(value, property.name());
  }
}

Value NSEntityMigrationPolicy::perform(std::string_view selector, std::span<const Value>) {
  throw migrationError(MigrationErrorCode::unknownFunction,
                       "The migration policy has no function \"" + std::string(selector) + "\".");
}

void NSEntityMigrationPolicy::registerClass(std::string_view name, Factory factory) {
  Registry& known = registry();
  const std::scoped_lock lock(known.mutex);
  known.factories.insert_or_assign(std::string(name), std::move(factory));
}

Ref<NSEntityMigrationPolicy> NSEntityMigrationPolicy::ofClass(std::string_view name) {
  Registry& known = registry();
  Factory factory;
  {
    const std::scoped_lock lock(known.mutex);
    if (const auto found = known.factories.find(name); found != known.factories.end()) {
      factory = found->second;
    }
  }
  if (factory) return factory();
  throw migrationError(MigrationErrorCode::unknownPolicy,
                       "There is no migration policy \"" + std::string(name) +
                           "\", which the mapping model asks for.");
}

}  // namespace coredata
