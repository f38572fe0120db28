#include "Tools/habits/Migration/EntityTrail.h"

#include <algorithm>
#include <utility>

#include "Tools/habits/Migration/SchemaChanges.h"

namespace habits {

namespace {

EntityTrail startOf(const coredata::NSEntityDescription& entity) {
  EntityTrail trail{entity.name(), entity.name(), {}};
  for (const coredata::Slot& slot : entity.slots()) {
    if (slot.attribute != nullptr) {
      trail.attributes[slot.attribute->name()] = slot.attribute->name();
    }
  }
  return trail;
}

void follow(EntityTrail& trail, const std::vector<EntityLink>& links) {
  const auto link = std::ranges::find_if(links, [&](const EntityLink& candidate) {
    return candidate.before != nullptr && trail.after == candidate.before->name();
  });
  if (link == links.end() || link->after == nullptr) {
    trail = {trail.before, std::nullopt, {}};
    return;
  }
  std::map<std::string, std::string> attributes;
  for (const auto& [first, current] : trail.attributes) {
    const auto found = std::ranges::find_if(link->properties, [&](const PropertyLink& property) {
      return property.before != nullptr && property.after != nullptr && !property.isComputed &&
             property.before->name() == current;
    });
    if (found != link->properties.end()) attributes[first] = found->after->name();
  }
  trail = {trail.before, link->after->name(), std::move(attributes)};
}

}  // namespace

std::vector<EntityTrail> trailsThrough(const Steps& steps) {
  std::vector<EntityTrail> trails;
  for (const auto* entity : steps.front().sourceModel->entities()) {
    trails.push_back(startOf(*entity));
  }
  for (const auto& step : steps) {
    const std::vector<EntityLink> links = linksOf(step);
    for (EntityTrail& trail : trails) follow(trail, links);
  }
  return trails;
}

}  // namespace habits
