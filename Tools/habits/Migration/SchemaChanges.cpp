#include "Tools/habits/Migration/SchemaChanges.h"

#include <algorithm>
#include <optional>
#include <ranges>
#include <set>
#include <span>

#include "CoreData/Migration/Mapping/EntityPairs.h"

namespace habits {

using coredata::MappingExpression;
using coredata::NSAttributeDescription;
using coredata::NSEntityDescription;
using coredata::NSEntityMapping;
using coredata::NSManagedObjectModel;
using coredata::NSPropertyDescription;
using coredata::NSPropertyMapping;
using coredata::NSRelationshipDescription;
using Variable = MappingExpression::Variable;
using Kind = SchemaChange::Kind;

namespace {

/// The key of the source that an expression looks at first; null when it looks at none.
const std::string* sourceKey(const MappingExpression& expression) {
  if (const auto* path = expression.keyPath()) {
    const bool isKey = path->variable == Variable::source && !path->keys.empty();
    return isKey ? &path->keys.front() : nullptr;
  }
  if (const auto* call = expression.function()) {
    for (const MappingExpression& argument : call->arguments) {
      if (const std::string* key = sourceKey(argument)) return key;
    }
  }
  return nullptr;
}

/// The manager is only asked what became of objects; everything else that is called makes values.
bool computes(const MappingExpression& expression) {
  const auto* call = expression.function();
  return call != nullptr && call->target != Variable::manager;
}

const NSPropertyMapping* written(const NSEntityMapping& mapping, std::string_view name) {
  for (const auto& properties : {mapping.attributeMappings(), mapping.relationshipMappings()}) {
    const auto found = std::ranges::find(properties, name, &NSPropertyMapping::name);
    if (found != properties.end()) return &*found;
  }
  return nullptr;
}

PropertyLink linkTo(const NSPropertyDescription& property, const EntityLink& entity,
                    const NSEntityMapping& mapping) {
  PropertyLink link{nullptr, &property, false};
  if (const NSPropertyMapping* found = written(mapping, property.name())) {
    if (const std::string* key = sourceKey(found->valueExpression())) {
      link.before = entity.before->property(*key);
      link.isComputed = computes(found->valueExpression());
    }
  } else if (dynamic_cast<const NSRelationshipDescription*>(&property) != nullptr) {
    // One that its other side sets.
    const auto siblings = std::views::values(entity.after->propertiesByName());
    link.before = coredata::predecessorOf(
        property, siblings, [&](std::string_view name) { return entity.before->property(name); });
  }
  return link;
}

std::vector<PropertyLink> linksBetween(const EntityLink& entity, const NSEntityMapping& mapping) {
  std::vector<PropertyLink> links;
  std::set<const NSPropertyDescription*> goingOn;
  for (const auto* property : std::views::values(entity.after->propertiesByName())) {
    if (property->isTransient()) continue;
    links.push_back(linkTo(*property, entity, mapping));
    goingOn.insert(links.back().before);
  }
  for (const auto* property : std::views::values(entity.before->propertiesByName())) {
    if (property->isTransient() || goingOn.contains(property)) continue;
    links.push_back({property, nullptr, false});
  }
  return links;
}

const NSEntityDescription* entityNamed(const std::optional<std::string>& name,
                                       const NSManagedObjectModel& model) {
  return name ? model.entity(*name) : nullptr;
}

std::string kindOf(const NSPropertyDescription& property) {
  if (const auto* attribute = dynamic_cast<const NSAttributeDescription*>(&property)) {
    return std::string(coredata::name(attribute->attributeType()));
  }
  const auto* relationship = dynamic_cast<const NSRelationshipDescription*>(&property);
  return relationship != nullptr && relationship->isToMany() ? "to-many" : "to-one";
}

std::string optionality(const NSPropertyDescription& property) {
  return property.isOptional() ? "optional " : "mandatory ";
}

void addChanges(const PropertyLink& link, const std::string& entity,
                std::vector<SchemaChange>& changes) {
  const auto& [before, after, isComputed] = link;
  const std::string what = entity + "." + (after == nullptr ? before : after)->name();
  if (before == nullptr) return changes.push_back({Kind::added, what, {}, {}});
  if (after == nullptr) return changes.push_back({Kind::dropped, what, {}, {}});
  std::string from = kindOf(*before);
  std::string to = kindOf(*after);
  if (before->isOptional() != after->isOptional()) {
    from.insert(0, optionality(*before));
    to.insert(0, optionality(*after));
  }
  if (before->name() != after->name()) {
    if (isComputed) {
      from += " in " + before->name();
    } else {
      changes.push_back({Kind::renamed, what, entity + "." + before->name(), {}});
    }
  }
  if (from != to || isComputed) changes.push_back({Kind::converted, what, from, to});
}

}  // namespace

std::vector<EntityLink> linksOf(const coredatastack::CoreDataMigrationStep& step) {
  std::vector<EntityLink> links;
  for (const auto& mapping : step.mappingModel->entityMappings()) {
    EntityLink link{entityNamed(mapping->sourceEntityName(), *step.sourceModel),
                    entityNamed(mapping->destinationEntityName(), *step.destinationModel),
                    {}};
    if (link.before != nullptr && link.after != nullptr) {
      link.properties = linksBetween(link, *mapping);
    }
    links.push_back(std::move(link));
  }
  return links;
}

std::vector<SchemaChange> changesOf(const std::vector<EntityLink>& links) {
  std::vector<SchemaChange> changes;
  for (const EntityLink& link : links) {
    if (link.before == nullptr) {
      changes.push_back({Kind::added, link.after->name(), {}, {}});
    } else if (link.after == nullptr) {
      changes.push_back({Kind::dropped, link.before->name(), {}, {}});
    } else if (link.before->name() != link.after->name()) {
      changes.push_back({Kind::renamed, link.after->name(), link.before->name(), {}});
    }
    for (const PropertyLink& property : link.properties) {
      addChanges(property, link.after->name(), changes);
    }
  }
  return changes;
}

std::string nameOf(SchemaChange::Kind kind) {
  switch (kind) {
    case Kind::added:
      return "added";
    case Kind::dropped:
      return "dropped";
    case Kind::renamed:
      return "renamed";
    case Kind::converted:
      return "converted";
  }
  return {};
}

std::string textOf(const SchemaChange& change) {
  switch (change.kind) {
    case Kind::added:
      return "adds " + change.what;
    case Kind::dropped:
      return "drops " + change.what;
    case Kind::renamed:
      return "renames " + change.from + " to " + change.what;
    case Kind::converted:
      return "converts " + change.what + " from " + change.from + " to " + change.to;
  }
  return {};
}

}  // namespace habits
