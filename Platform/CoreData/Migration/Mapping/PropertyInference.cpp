#include "CoreData/Migration/Mapping/PropertyInference.h"

#include <ranges>
#include <utility>

#include "CoreData/Migration/Mapping/AttributeConversion.h"
#include "CoreData/Model/QuotedName.h"

namespace coredata {
namespace {

using foundation::Value;

const NSPropertyDescription* predecessorIn(const EntityPair& pair,
                                           const NSPropertyDescription& property) {
  return predecessorOf(property, std::views::values(pair.destination->propertiesByName()),
                       [&](std::string_view name) { return pair.source->property(name); });
}

MappingExpression sourceValue(const NSPropertyDescription& property) {
  return MappingExpression(
      MappingExpression::KeyPath{MappingExpression::Variable::source, {property.name()}});
}

MappingExpression destinationInstances(const EntityPair& target,
                                       const NSRelationshipDescription& source) {
  return MappingExpression(
      MappingExpression::Function{MappingExpression::Variable::manager,
                                  std::string(kDestinationInstancesSelector),
                                  {MappingExpression(Value(target.name)), sourceValue(source)}});
}

}  // namespace

void PropertyInference::infer(const EntityPair& pair, EntityMappingContent& mapping) {
  if (pair.source == nullptr || pair.destination == nullptr || !pair.infersProperties) return;
  pair_ = &pair;
  mapping_ = &mapping;
  for (const auto& [name, property] : pair.destination->propertiesByName()) {
    if (pair.writtenProperties.contains(name)) continue;
    if (const auto* attribute = dynamic_cast<const NSAttributeDescription*>(property)) {
      if (!attribute->isTransient()) inferAttribute(*attribute);
    } else if (const auto* relationship =
                   dynamic_cast<const NSRelationshipDescription*>(property)) {
      inferRelationship(*relationship);
    }
  }
}

void PropertyInference::inferAttribute(const NSAttributeDescription& attribute) {
  const auto* source = predecessor(attribute);
  if (source == nullptr || source->isTransient()) return inferAddedAttribute(attribute);
  if (!holdsEvery(attribute.attributeType(), source->attributeType())) {
    return refuse(attribute, "was of type " + std::string(name(source->attributeType())) +
                                 ", which does not always fit " +
                                 std::string(name(attribute.attributeType())));
  }
  Value replacement;
  if (!attribute.isOptional() && source->isOptional()) {
    replacement = attribute.defaultValue();
    if (replacement.isNone()) return refuse(attribute, "became mandatory and has no default");
  }
  mapping_->attributes.emplace_back(attribute.name(), sourceValue(*source), std::move(replacement));
}

void PropertyInference::inferAddedAttribute(const NSAttributeDescription& attribute) {
  if (!attribute.defaultValue().isNone()) {
    mapping_->attributes.emplace_back(attribute.name(),
                                      MappingExpression(attribute.defaultValue()));
  } else if (!attribute.isOptional()) {
    refuse(attribute, "is new and mandatory and has no default");
  }
}

void PropertyInference::inferRelationship(const NSRelationshipDescription& relationship) {
  const auto* source = predecessor(relationship);
  if (source == nullptr) {
    if (!relationship.isOptional()) refuse(relationship, "is new and mandatory");
    return;
  }
  if (!relationship.isOptional() && source->isOptional()) {
    return refuse(relationship, "became mandatory");
  }
  const auto& destination = relationship.destinationEntity();
  if (destination.isAbstract()) return;
  const auto* target = pairs_.find(source->destinationEntity(), destination);
  if (target == nullptr) {
    return refuse(relationship, "led to " + quotedName(source->destinationEntity().name()) +
                                    ", of which no mapping makes " +
                                    quotedName(destination.name()));
  }
  if (isSetFromOtherSide(relationship, *source, *target)) {
    if (!relationship.isOptional() && !relationship.isToMany()) {
      refuse(relationship, "is mandatory, but its inverse keeps one object of many");
    }
    return;
  }
  mapping_->relationships.emplace_back(relationship.name(), destinationInstances(*target, *source));
}

/// Of a pair of relationships it is the column that is carried over. A to-many that becomes a
/// to-one decides for both sides: the members that come after the first must not put themselves in
/// again.
bool PropertyInference::isSetFromOtherSide(const NSRelationshipDescription& relationship,
                                           const NSRelationshipDescription& source,
                                           const EntityPair& target) {
  const auto* inverse = relationship.inverseRelationship();
  if (inverse == nullptr || inverse->isToMany()) return false;
  if (target.writtenProperties.contains(inverse->name())) return relationship.isToMany();
  if (!target.infersProperties) return false;
  const auto* inverseSource =
      dynamic_cast<const NSRelationshipDescription*>(predecessorIn(target, *inverse));
  if (inverseSource == nullptr) return false;
  const auto* sourceInverse = source.inverseRelationship();
  if (sourceInverse != nullptr && sourceInverse != inverseSource) {
    refuse(relationship, "and its inverse " + quotedName(inverse->name()) +
                             " were not each other's inverse in the version before");
  }
  return relationship.isToMany() || inverseSource->isToMany();
}

template <typename Kind>
const Kind* PropertyInference::predecessor(const Kind& property) {
  const auto* found = predecessorIn(*pair_, property);
  const auto* source = dynamic_cast<const Kind*>(found);
  if (found != nullptr && source == nullptr) refuse(property, "was a property of another kind");
  return source;
}

void PropertyInference::refuse(const NSPropertyDescription& property, const std::string& why) {
  reasons_.push_back(quotedName(pair_->destination->name() + "." + property.name()) + " " + why);
}

}  // namespace coredata
