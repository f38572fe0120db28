#include "CoreData/Fetching/ResolvedPath.h"

#include "CoreData/Fetching/FetchError.h"

namespace coredata {

namespace {

const NSPropertyDescription& propertyNamed(const NSEntityDescription& entity,
                                           const std::string& key) {
  const NSPropertyDescription* property = entity.property(key);
  if (property == nullptr) {
    throw fetchError(FetchErrorCode::unknownKey,
                     "The entity " + entity.name() + " has no property \"" + key + "\".");
  }
  if (property->isTransient()) {
    throw fetchError(FetchErrorCode::unsuitableKey,
                     "The property \"" + key + "\" of " + entity.name() +
                         " is computed, not stored; the store cannot use it.");
  }
  return *property;
}

void endIn(ResolvedPath& path, const NSPropertyDescription& property) {
  path.slot = property.slot();
  path.attribute = dynamic_cast<const NSAttributeDescription*>(&property);
  path.relationship = dynamic_cast<const NSRelationshipDescription*>(&property);
  const bool isToMany = path.relationship != nullptr && path.relationship->isToMany();
  path.end = isToMany ? ResolvedPath::End::toMany : ResolvedPath::End::slot;
}

}  // namespace

bool ResolvedPath::passesToMany() const noexcept {
  for (const NSRelationshipDescription* link : links) {
    if (link->isToMany()) return true;
  }
  return false;
}

const NSEntityDescription* ResolvedPath::objectEntity() const noexcept {
  if (end == End::self) return entity;
  return relationship == nullptr ? nullptr : &relationship->destinationEntity();
}

ResolvedPath resolvePath(const NSEntityDescription& root,
                         const std::vector<std::string>& segments) {
  ResolvedPath path;
  path.root = &root;
  path.entity = &root;
  for (std::size_t i = 0; i < segments.size(); ++i) {
    const NSPropertyDescription& property = propertyNamed(*path.entity, segments[i]);
    if (i + 1 == segments.size()) {
      endIn(path, property);
      break;
    }
    const auto* link = dynamic_cast<const NSRelationshipDescription*>(&property);
    if (link == nullptr) {
      throw fetchError(FetchErrorCode::unsuitableKey,
                       "\"" + segments[i] + "\" of " + path.entity->name() +
                           " is an attribute; the key path cannot go on to \"" + segments[i + 1] +
                           "\".");
    }
    path.links.push_back(link);
    path.entity = &link->destinationEntity();
  }
  return path;
}

ResolvedPath resolvePath(const NSEntityDescription& root, std::string_view keyPath) {
  std::vector<std::string> segments;
  while (true) {
    const std::size_t dot = keyPath.find('.');
    segments.emplace_back(keyPath.substr(0, dot));
    if (dot == std::string_view::npos) break;
    keyPath.remove_prefix(dot + 1);
  }
  return resolvePath(root, segments);
}

}  // namespace coredata
