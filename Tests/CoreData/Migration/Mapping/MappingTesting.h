#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "CoreData/Migration/Mapping/MappingError.h"
#include "CoreData/Migration/Mapping/NSMappingModel.h"
#include "Tests/CoreData/Model/ModelTesting.h"

namespace coredata {

using ModelRef = foundation::Ref<NSManagedObjectModel>;
using MappingRef = foundation::Ref<const NSMappingModel>;

/// A model of the entities that the JSON, the inside of their object, describes.
[[nodiscard]] inline ModelRef modelOf(std::string_view entities) {
  return modelFromSource(R"({"entities": {)" + std::string(entities) + "}}");
}

/// "name <- expression", with what absent becomes behind it.
[[nodiscard]] inline std::string line(const NSPropertyMapping& property) {
  auto text = property.name() + " <- " + property.valueExpression().description();
  if (!property.absentReplacement().isNone()) {
    text += " | " + MappingExpression(property.absentReplacement()).description();
  }
  return text;
}

[[nodiscard]] inline std::vector<std::string> lines(std::span<const NSPropertyMapping> properties) {
  std::vector<std::string> lines;
  lines.reserve(properties.size());
  for (const auto& property : properties) lines.push_back(line(property));
  return lines;
}

[[nodiscard]] inline std::vector<std::string> names(const NSMappingModel& model) {
  std::vector<std::string> names;
  for (const auto& mapping : model.entityMappings()) names.push_back(mapping->name());
  return names;
}

/// The expression that fills a relationship from the source's property of that name.
[[nodiscard]] inline std::string instances(const std::string& mapping, const std::string& name) {
  return R"(FUNCTION($manager, "destinationInstancesForEntityMappingNamed:sourceInstances:", ")" +
         mapping + R"(", $source.)" + name + ")";
}

}  // namespace coredata
