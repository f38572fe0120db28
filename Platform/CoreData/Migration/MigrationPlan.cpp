#include "CoreData/Migration/MigrationPlan.h"

#include <algorithm>
#include <ranges>

#include "CoreData/Migration/ExpressionEvaluation.h"
#include "CoreData/Migration/MigrationError.h"
#include "CoreData/SQLite/RowColumns.h"

namespace coredata {

using foundation::Value;
using Variable = MappingExpression::Variable;

namespace {

const NSEntityDescription* entityNamed(const NSManagedObjectModel& model,
                                       const std::optional<std::string>& name) {
  if (!name) return nullptr;
  if (const NSEntityDescription* entity = model.entity(*name)) return entity;
  throw migrationError(MigrationErrorCode::wrongModels, "The mapping model names an entity \"" +
                                                            *name + "\", which the model has not.");
}

/// The key where the expression is `$source.<key>`, else null.
const std::string* sourceKey(const MappingExpression& expression) {
  const auto* path = expression.keyPath();
  const bool isOneKey =
      path != nullptr && path->variable == Variable::source && path->keys.size() == 1;
  return isOneKey ? &path->keys.front() : nullptr;
}

/// What became of the objects of a relationship: which mapping made them, and the source's key.
struct MappedObjects {
  std::string_view mapping;
  std::string_view key;
};
std::optional<MappedObjects> mappedObjects(const MappingExpression& expression) {
  const auto* function = expression.function();
  if (function == nullptr || function->target != Variable::manager ||
      function->selector != kDestinationInstancesSelector || function->arguments.size() != 2) {
    return std::nullopt;
  }
  const Value* name = function->arguments[0].constant();
  const std::string* key = sourceKey(function->arguments[1]);
  if (name == nullptr || name->text() == nullptr || key == nullptr) return std::nullopt;
  return MappedObjects{*name->text(), *key};
}

template <typename Property>
const Property& required(const Property* property, const NSEntityDescription& entity,
                         std::string_view name) {
  if (property != nullptr) return *property;
  throw migrationError(MigrationErrorCode::wrongModels,
                       "The mapping model names a property \"" + std::string(name) + "\" of " +
                           entity.name() + ", which the model has not.");
}

bool isCopyable(SlotTag from, SlotTag to) {
  return from == to || (from == SlotTag::integer && to == SlotTag::real);
}

}  // namespace

MigrationPlan::MigrationPlan(const NSMappingModel& mappings, const NSManagedObjectModel& source,
                             const NSManagedObjectModel& destination) {
  for (const auto& mapping : mappings.entityMappings()) {
    PlannedMapping planned;
    planned.mapping = mapping.get();
    planned.source = entityNamed(source, mapping->sourceEntityName());
    planned.destination = entityNamed(destination, mapping->destinationEntityName());
    mappings_.push_back(std::move(planned));
  }
  for (PlannedMapping& planned : mappings_) {
    if (planned.source == nullptr || planned.destination == nullptr) continue;
    planned.keepsKeys = std::ranges::none_of(mappings_, [&](const PlannedMapping& other) {
      return &other != &planned && other.source != nullptr &&
             other.destination == planned.destination;
    });
  }
  for (PlannedMapping& planned : mappings_) planCopy(planned);
  // Only now: a to-many that is set from its own side writes into another mapping's columns.
  for (PlannedMapping& planned : mappings_) {
    if (planned.copy.to == nullptr || planned.needsObjects) continue;
    for (const NSPropertyMapping& property : planned.mapping->relationshipMappings()) {
      const NSRelationshipDescription& relationship =
          *planned.destination->relationship(property.name());
      if (relationship.isToMany() && !planToMany(planned, property)) planned.needsObjects = true;
    }
  }
}

std::size_t MigrationPlan::position(std::string_view name) const noexcept {
  const auto found = std::ranges::find_if(
      mappings_, [&](const PlannedMapping& planned) { return planned.mapping->name() == name; });
  return static_cast<std::size_t>(found - mappings_.begin());
}

bool MigrationPlan::needsObjects() const noexcept {
  return std::ranges::any_of(mappings_, &PlannedMapping::needsObjects);
}

void MigrationPlan::planCopy(PlannedMapping& planned) {
  const NSEntityMapping& mapping = *planned.mapping;
  if (mapping.entityMigrationPolicyClassName()) {
    planned.needsObjects = true;
    return;
  }
  if (planned.source == nullptr || planned.destination == nullptr) return;
  planned.copy = {planned.source, planned.destination, {}};
  planned.copy.columns.resize(planned.destination->slots().size());
  for (const Slot& slot : planned.destination->slots()) {
    if (slot.attribute != nullptr) {
      planned.copy.columns[slot.property->slot()].value = slot.attribute->defaultValue();
    }
  }
  bool isCopy = planned.keepsKeys;
  for (const NSPropertyMapping& property : mapping.attributeMappings()) {
    isCopy = planAttribute(planned, property) && isCopy;
  }
  for (const NSPropertyMapping& property : mapping.relationshipMappings()) {
    const NSRelationshipDescription& relationship = required(
        planned.destination->relationship(property.name()), *planned.destination, property.name());
    if (!relationship.isToMany()) isCopy = planToOne(planned, property) && isCopy;
  }
  planned.needsObjects = !isCopy;
}

bool MigrationPlan::planAttribute(PlannedMapping& planned, const NSPropertyMapping& property) {
  const NSAttributeDescription& attribute = required(
      planned.destination->attribute(property.name()), *planned.destination, property.name());
  if (attribute.slot() == kNoSlot) return true;
  CopiedColumn& column = planned.copy.columns[attribute.slot()];
  if (const Value* constant = property.valueExpression().constant()) {
    column = {CopiedColumn::Source::nothing, kNoSlot, nullptr,
              constant->isNone() ? property.absentReplacement() : *constant};
    return constant->isNone() || constant->number() != nullptr || constant->text() != nullptr;
  }
  const std::string* key = sourceKey(property.valueExpression());
  if (key == nullptr) return false;
  const NSAttributeDescription& source =
      required(planned.source->attribute(*key), *planned.source, *key);
  if (source.slot() == kNoSlot) return false;
  column = {CopiedColumn::Source::column, source.slot(), nullptr, property.absentReplacement()};
  return isCopyable(slotKind(planned.source->slots()[source.slot()]),
                    slotKind(planned.destination->slots()[attribute.slot()]));
}

bool MigrationPlan::planToOne(PlannedMapping& planned, const NSPropertyMapping& property) {
  const NSRelationshipDescription& relationship =
      *planned.destination->relationship(property.name());
  const auto objects = mappedObjects(property.valueExpression());
  if (!objects) return false;
  const std::size_t target = position(objects->mapping);
  const NSRelationshipDescription& source =
      required(planned.source->relationship(objects->key), *planned.source, objects->key);
  const bool keepsKeys = target < mappings_.size() && mappings_[target].keepsKeys &&
                         mappings_[target].source == &source.destinationEntity() &&
                         mappings_[target].destination == &relationship.destinationEntity();
  if (!keepsKeys) return false;
  if (source.isToMany()) {
    const NSRelationshipDescription& inverse = *source.inverseRelationship();
    setReference(planned, relationship.slot(),
                 {CopiedColumn::Source::referrer, inverse.slot(), inverse.entity(), {}}, target);
  } else {
    setReference(planned, relationship.slot(),
                 {CopiedColumn::Source::column, source.slot(), nullptr, {}}, target);
  }
  return true;
}

bool MigrationPlan::planToMany(const PlannedMapping& planned, const NSPropertyMapping& property) {
  const NSRelationshipDescription& relationship =
      *planned.destination->relationship(property.name());
  const auto objects = mappedObjects(property.valueExpression());
  if (!objects || !planned.keepsKeys) return false;
  const std::size_t members = position(objects->mapping);
  const NSRelationshipDescription& source =
      required(planned.source->relationship(objects->key), *planned.source, objects->key);
  if (source.isToMany() || members >= mappings_.size()) return false;
  PlannedMapping& other = mappings_[members];
  const bool fits = other.copy.to != nullptr && !other.needsObjects && other.keepsKeys &&
                    other.source == &source.destinationEntity() &&
                    other.destination == &relationship.destinationEntity();
  if (!fits) return false;
  setReference(other, relationship.inverseRelationship()->slot(),
               {CopiedColumn::Source::referrer, source.slot(), planned.source, {}},
               static_cast<std::size_t>(&planned - mappings_.data()));
  return true;
}

void MigrationPlan::setReference(PlannedMapping& planned, SlotIndex slot, CopiedColumn column,
                                 std::size_t target) {
  planned.copy.columns[slot] = std::move(column);
  planned.references.push_back({slot, target});
}

}  // namespace coredata
