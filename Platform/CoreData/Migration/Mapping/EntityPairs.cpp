#include "CoreData/Migration/Mapping/EntityPairs.h"

#include <iterator>
#include <optional>
#include <utility>

namespace coredata {
namespace {

std::optional<std::string> nameOf(const NSEntityDescription* entity) {
  return entity == nullptr ? std::nullopt : std::optional(entity->name());
}

std::optional<VersionHash> hashOf(const NSEntityDescription* entity) {
  return entity == nullptr ? std::nullopt : std::optional(entity->versionHash());
}

void requireDistinctNames(std::span<const EntityPair> pairs, InferenceReasons& reasons) {
  std::set<std::string_view> names;
  for (const auto& pair : pairs) {
    if (names.insert(pair.name).second) continue;
    reasons.push_back("two entity mappings would be named \"" + pair.name + "\"");
  }
}

}  // namespace

void EntityPairs::inferRest(std::size_t place, InferenceReasons& reasons) {
  const std::vector<EntityPair> written = pairs_;
  std::vector<EntityPair> rest;
  const auto isNamed = [&](const NSEntityDescription* entity, auto side) {
    return std::ranges::count(written, entity, side) + std::ranges::count(rest, entity, side) > 0;
  };
  const auto add = [&](const NSEntityDescription* source, const NSEntityDescription* destination) {
    rest.push_back({usualName(source, destination), source, destination, {}, true});
  };
  for (const auto* entity : destination_.entities()) {
    if (isNamed(entity, &EntityPair::destination)) continue;
    const auto* source = sourceOf(*entity);
    if (!entity->isAbstract()) {
      add(source, entity);
    } else if (source != nullptr) {
      reasons.push_back("\"" + entity->name() + "\" is abstract and had objects");
    }
  }
  for (const auto* entity : source_.entities()) {
    if (!entity->isAbstract() && !isNamed(entity, &EntityPair::source)) add(entity, nullptr);
  }
  pairs_.insert(pairs_.begin() + static_cast<std::ptrdiff_t>(place),
                std::make_move_iterator(rest.begin()), std::make_move_iterator(rest.end()));
  requireDistinctNames(pairs_, reasons);
}

const EntityPair* EntityPairs::find(const NSEntityDescription& source,
                                    const NSEntityDescription& destination) const noexcept {
  const auto found = std::ranges::find_if(pairs_, [&](const EntityPair& pair) {
    return pair.source == &source && pair.destination == &destination;
  });
  return found == pairs_.end() ? nullptr : &*found;
}

/// Only an entity that can have objects has any to hand on.
const NSEntityDescription* EntityPairs::sourceOf(const NSEntityDescription& destination) const {
  const auto* found = predecessorOf(destination, destination_.entities(),
                                    [this](std::string_view name) { return source_.entity(name); });
  return found == nullptr || found->isAbstract() ? nullptr : found;
}

std::string usualName(const NSEntityDescription* source, const NSEntityDescription* destination) {
  if (source == nullptr) return "Add" + destination->name();
  if (destination == nullptr) return "Remove" + source->name();
  return source->name() + "To" + destination->name();
}

EntityMappingContent emptyMapping(const EntityPair& pair) {
  EntityMappingContent mapping;
  mapping.name = pair.name;
  mapping.sourceEntity = nameOf(pair.source);
  mapping.destinationEntity = nameOf(pair.destination);
  mapping.sourceHash = hashOf(pair.source);
  mapping.destinationHash = hashOf(pair.destination);
  return mapping;
}

}  // namespace coredata
