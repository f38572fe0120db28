#include "CoreData/Migration/Mapping/ExpressionChecks.h"

#include <algorithm>

#include "CoreData/Migration/Mapping/AttributeConstant.h"
#include "CoreData/Migration/Mapping/AttributeConversion.h"
#include "CoreData/Migration/Mapping/MappingError.h"
#include "CoreData/Migration/Mapping/PropertyInference.h"
#include "CoreData/Model/QuotedName.h"

namespace coredata {

using foundation::Value;

void fail(const EntityMappingContent& mapping, const std::string& what) {
  throw mappingError(MappingErrorCode::invalidMapping,
                     "The entity mapping " + quotedName(mapping.name) + " " + what + ".");
}

void ExpressionChecks::fail(const NSPropertyMapping& property, const std::string& what) const {
  coredata::fail(mapping_, "fills " + quotedName(property.name()) + " with " +
                               property.valueExpression().description('\'') + ", but " + what);
}

void ExpressionChecks::checkAttribute(const NSPropertyMapping& property) const {
  const auto* attribute = pair_.destination->attribute(property.name());
  if (attribute == nullptr || attribute->isTransient()) {
    fail(property, quotedName(pair_.destination->name()) + " stores no such attribute");
  }
  const auto& replacement = property.absentReplacement();
  if (!replacement.isNone()) checkConstant(property, *attribute, replacement);
  const auto& expression = property.valueExpression();
  if (const auto* constant = expression.constant()) {
    checkConstant(property, *attribute, *constant);
  } else if (const auto* path = expression.keyPath()) {
    checkPath(property, *attribute, *path);
  } else {
    checkPolicyCall(property, *expression.function());
  }
}

void ExpressionChecks::checkConstant(const NSPropertyMapping& property,
                                     const NSAttributeDescription& attribute,
                                     const Value& constant) const {
  if (constant.isNone()) {
    if (!attribute.isOptional()) fail(property, "it is mandatory");
    return;
  }
  const auto& type = attribute.attributeType();
  const auto own = constantOfType(constant, type);
  if (!own) fail(property, "it is of type " + std::string(name(type)));
  if (own->number() != nullptr && own->number()->kind() != constant.number()->kind()) {
    fail(property, "its numbers are of another kind");
  }
}

void ExpressionChecks::checkPath(const NSPropertyMapping& property,
                                 const NSAttributeDescription& attribute,
                                 const MappingExpression::KeyPath& path) const {
  const auto* end = dynamic_cast<const NSAttributeDescription*>(endOf(property, path).property);
  if (end == nullptr) fail(property, "that is no attribute");
  if (!holdsEvery(attribute.attributeType(), end->attributeType())) {
    fail(property, "what is of type " + std::string(name(end->attributeType())) +
                       " does not always fit " + std::string(name(attribute.attributeType())));
  }
  const bool mayBeAbsent = end->isOptional() || path.keys.size() > 1;
  if (mayBeAbsent && !attribute.isOptional() && property.absentReplacement().isNone()) {
    fail(property, "it is mandatory and that may be absent");
  }
}

void ExpressionChecks::checkRelationship(const NSPropertyMapping& property) const {
  const auto* relationship = pair_.destination->relationship(property.name());
  if (relationship == nullptr) {
    fail(property, quotedName(pair_.destination->name()) + " has no such relationship");
  }
  if (!property.absentReplacement().isNone()) {
    fail(property, "only an attribute has something else for what is absent");
  }
  const auto& expression = property.valueExpression();
  if (const auto* call = expression.function()) {
    if (call->target == Variable::manager) return checkManagerCall(property, *relationship, *call);
    return checkPolicyCall(property, *call);
  }
  const auto* constant = expression.constant();
  if (constant == nullptr || !constant->isNone()) fail(property, "that is no migrated object");
  if (!relationship->isOptional()) fail(property, "it is mandatory");
}

void ExpressionChecks::checkPolicyCall(const NSPropertyMapping& property,
                                       const MappingExpression::Function& call) const {
  if (call.target != Variable::entityPolicy) fail(property, "the manager gives no such value");
  if (!mapping_.policyClass) fail(property, "the mapping has no policy");
  for (const auto& argument : call.arguments) checkArgument(property, argument);
}

/// What a policy makes of its arguments is its own affair, but they must be there.
void ExpressionChecks::checkArgument(const NSPropertyMapping& property,
                                     const MappingExpression& argument) const {
  if (const auto* path = argument.keyPath()) {
    if (path->variable == Variable::source || path->variable == Variable::destination) {
      static_cast<void>(endOf(property, *path));
    }
  } else if (const auto* call = argument.function()) {
    checkPolicyCall(property, *call);
  }
}

void ExpressionChecks::checkManagerCall(const NSPropertyMapping& property,
                                        const NSRelationshipDescription& relationship,
                                        const MappingExpression::Function& call) const {
  if (call.selector != kDestinationInstancesSelector)
    fail(property, "the manager has no such call");
  const auto* name = call.arguments[0].constant();
  if (name == nullptr || name->text() == nullptr) fail(property, "it names no entity mapping");
  const auto target =
      std::ranges::find(content_.entityMappings, *name->text(), &EntityMappingContent::name);
  if (target == content_.entityMappings.end()) {
    fail(property, "there is no entity mapping " + quotedName(*name->text()));
  }
  if (target->destinationEntity != relationship.destinationEntity().name()) {
    fail(property, quotedName(target->name) + " does not make what the relationship leads to");
  }
  const auto* path = call.arguments[1].keyPath();
  const auto end = path == nullptr ? PathEnd() : endOf(property, *path);
  if (end.entity == nullptr || target->sourceEntity != end.entity->name()) {
    fail(property, quotedName(target->name) + " is not given what it maps");
  }
}

ExpressionChecks::PathEnd ExpressionChecks::endOf(const NSPropertyMapping& property,
                                                  const MappingExpression::KeyPath& path) const {
  const bool isSource = path.variable == Variable::source;
  if (!isSource && path.variable != Variable::destination) fail(property, "that is no value");
  PathEnd end{nullptr, isSource ? pair_.source : pair_.destination};
  if (end.entity == nullptr) fail(property, "there is no source");
  for (const auto& key : path.keys) {
    const auto* through = dynamic_cast<const NSRelationshipDescription*>(end.property);
    if (end.entity == nullptr || (through != nullptr && through->isToMany())) {
      fail(property, quotedName(key) + " is asked of what is not one object");
    }
    end.property = end.entity->property(key);
    if (end.property == nullptr) {
      fail(property, quotedName(end.entity->name()) + " has no " + quotedName(key));
    }
    const auto* relationship = dynamic_cast<const NSRelationshipDescription*>(end.property);
    end.entity = relationship == nullptr ? nullptr : &relationship->destinationEntity();
  }
  return end;
}

}  // namespace coredata
