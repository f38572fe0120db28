#include "CoreData/Migration/Mapping/MappingChecks.h"

#include <algorithm>
#include <functional>
#include <set>
#include <string_view>

#include "CoreData/Migration/Mapping/ExpressionChecks.h"
#include "CoreData/Migration/Mapping/MappingError.h"
#include "CoreData/Migration/Mapping/MappingInference.h"
#include "CoreData/Model/Compiled/VersionInfo.h"

namespace coredata {
namespace {

constexpr std::size_t kMostMappings = 4096;
constexpr std::size_t kLongestName = 256;

constexpr bool isNameCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

bool isPlainName(std::string_view name) {
  return !name.empty() && name.size() <= kLongestName && std::ranges::all_of(name, isNameCharacter);
}

[[noreturn]] void failWhole(const std::string& what) {
  throw mappingError(MappingErrorCode::invalidMapping, "The mapping " + what + ".");
}

// What one entity mapping says, without its models.

void checkProperties(const EntityMappingContent& mapping,
                     const std::vector<NSPropertyMapping>& properties) {
  for (const auto& property : properties) {
    if (!isPlainName(property.name())) fail(mapping, "maps a property without a proper name");
  }
  if (std::ranges::adjacent_find(properties, std::ranges::greater_equal{},
                                 &NSPropertyMapping::name) != properties.end()) {
    fail(mapping, "maps properties twice or out of order");
  }
}

/// The type is told by the policy and the entities; only what is a copy is for the models to say.
bool isTypePossible(const EntityMappingContent& mapping) {
  switch (mapping.type) {
    case NSEntityMappingType::custom:
      return mapping.policyClass.has_value();
    case NSEntityMappingType::add:
      return !mapping.policyClass && !mapping.sourceEntity;
    case NSEntityMappingType::remove:
      return !mapping.policyClass && !mapping.destinationEntity;
    case NSEntityMappingType::copy:
    case NSEntityMappingType::transform:
      return !mapping.policyClass && mapping.sourceEntity && mapping.destinationEntity;
  }
  return false;
}

void checkForm(const EntityMappingContent& mapping) {
  if (!isPlainName(mapping.name)) failWhole("holds an entity mapping without a proper name");
  if (!mapping.sourceEntity && !mapping.destinationEntity) fail(mapping, "is of no entity");
  if (!isPlainName(mapping.sourceEntity.value_or("none")) ||
      !isPlainName(mapping.destinationEntity.value_or("none"))) {
    fail(mapping, "is of an entity without a proper name");
  }
  if (mapping.sourceEntity.has_value() != mapping.sourceHash.has_value() ||
      mapping.destinationEntity.has_value() != mapping.destinationHash.has_value()) {
    fail(mapping, "does not hold the hash of each entity");
  }
  if (mapping.policyClass && !isPlainName(*mapping.policyClass)) {
    fail(mapping, "has a policy whose name is no name of a class");
  }
  if (!isTypePossible(mapping)) fail(mapping, "is not of the type that its entities say");
  checkProperties(mapping, mapping.attributes);
  checkProperties(mapping, mapping.relationships);
  if (!mapping.destinationEntity &&
      !(mapping.attributes.empty() && mapping.relationships.empty())) {
    fail(mapping, "has no destination to give properties to");
  }
}

// What it says, held against the models.

const NSEntityDescription* requireEntity(const EntityMappingContent& mapping,
                                         const std::optional<std::string>& name,
                                         const std::optional<VersionHash>& hash,
                                         const NSManagedObjectModel& model) {
  if (!name) return nullptr;
  const auto* entity = model.entity(*name);
  if (entity == nullptr) fail(mapping, "names \"" + *name + "\", which is no entity there");
  if (entity->isAbstract()) fail(mapping, "names \"" + *name + "\", which is abstract");
  if (entity->versionHash() != *hash) {
    fail(mapping, "was made for another version of \"" + *name + "\"");
  }
  return entity;
}

bool isListed(const std::vector<NSPropertyMapping>& properties, std::string_view name) {
  return std::ranges::find(properties, name, &NSPropertyMapping::name) != properties.end();
}

/// A policy may give values of its own; without one the list is all there is.
void requireMandatory(const EntityMappingContent& mapping, const NSEntityDescription& entity) {
  for (const auto& slot : entity.slots()) {
    const auto& property = *slot.property;
    if (property.isOptional()) continue;
    if (slot.attribute != nullptr && !slot.attribute->defaultValue().isNone()) continue;
    if (isListed(slot.attribute != nullptr ? mapping.attributes : mapping.relationships,
                 property.name())) {
      continue;
    }
    fail(mapping, "gives no value to \"" + property.name() + "\", which is mandatory");
  }
}

class Checker {
 public:
  Checker(const MappingContent& content, const NSManagedObjectModel& source,
          const NSManagedObjectModel& destination)
      : content_(content), source_(source), destination_(destination) {}

  void check() const {
    if (content_.sourceFingerprint != source_.fingerprint() ||
        content_.destinationFingerprint != destination_.fingerprint()) {
      failWhole("was made for other models");
    }
    for (const auto& mapping : content_.entityMappings) check(mapping);
    requireEverySource();
  }

 private:
  void check(const EntityMappingContent& mapping) const {
    const EntityPair pair{
        mapping.name,
        requireEntity(mapping, mapping.sourceEntity, mapping.sourceHash, source_),
        requireEntity(mapping, mapping.destinationEntity, mapping.destinationHash, destination_),
        {},
        false};
    if (mapping.type != mappingType(mapping, pair))
      fail(mapping, "is not of the type that it says");
    if (pair.destination == nullptr) return;
    const ExpressionChecks expressions(content_, mapping, pair);
    for (const auto& attribute : mapping.attributes) expressions.checkAttribute(attribute);
    for (const auto& relationship : mapping.relationships) {
      expressions.checkRelationship(relationship);
    }
    if (pair.source != nullptr && !mapping.policyClass)
      requireMandatory(mapping, *pair.destination);
  }

  /// Objects are dropped where somebody says so, never because nobody thought of them.
  void requireEverySource() const {
    std::set<std::string_view> named;
    for (const auto& mapping : content_.entityMappings) {
      if (mapping.sourceEntity) named.insert(*mapping.sourceEntity);
    }
    for (const auto* entity : source_.entities()) {
      if (entity->isAbstract() || named.contains(entity->name())) continue;
      failWhole("says nothing of \"" + entity->name() +
                "\"; its objects are dropped by an entity mapping without a destination");
    }
  }

  const MappingContent& content_;
  const NSManagedObjectModel& source_;
  const NSManagedObjectModel& destination_;
};

}  // namespace

void checkForm(const MappingContent& content) {
  if (!isVersionName(content.sourceVersion) || !isVersionName(content.destinationVersion)) {
    failWhole("names no versions");
  }
  if (content.entityMappings.size() > kMostMappings) {
    failWhole("holds more than " + std::to_string(kMostMappings) + " entity mappings");
  }
  std::set<std::string_view> names;
  for (const auto& mapping : content.entityMappings) {
    checkForm(mapping);
    if (!names.insert(mapping.name).second) {
      failWhole("holds two entity mappings named \"" + mapping.name + "\"");
    }
  }
}

void checkMapping(const MappingContent& content, const NSManagedObjectModel& source,
                  const NSManagedObjectModel& destination) {
  checkForm(content);
  Checker(content, source, destination).check();
}

}  // namespace coredata
