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

/// Two versions of a small model that a mapping of every kind leads between.
inline constexpr std::string_view kDiary1 = R"({
  "identifiers": ["Diary 1"],
  "entities": {
    "Entry": {
      "attributes": {"title": "text", "mood": "integer16", "written": "date"},
      "relationships": {
        "image": {"toOne": "Image", "inverse": "entry"},
        "author": {"toOne": "Author", "inverse": "entries"}
      }
    },
    "Author": {
      "attributes": {"name": "required text", "age": "integer64"},
      "relationships": {"entries": {"toMany": "Entry", "inverse": "author"}}
    },
    "Image": {
      "attributes": {"file": "text"},
      "relationships": {"entry": {"toOne": "Entry", "inverse": "image"}}
    },
    "Draft": {}
  }
})";
inline constexpr std::string_view kDiary2 = R"({
  "identifiers": ["Diary 2"],
  "entities": {
    "Entry": {
      "attributes": {
        "title": {"type": "required text", "default": "?"},
        "mood": "double",
        "written": "date",
        "by": "text",
        "stars": "scalar integer16",
        "short": "transient text"
      },
      "relationships": {
        "image": {"toOne": "Image", "inverse": "entry"},
        "author": {"toOne": "Author", "inverse": "entries"}
      }
    },
    "Author": {
      "attributes": {"name": "required text", "age": "integer64"},
      "relationships": {"entries": {"toMany": "Entry", "inverse": "author"}}
    },
    "Image": {
      "attributes": {"data": "binary", "id": "required uuid"},
      "relationships": {"entry": {"toOne": "Entry", "inverse": "image"}}
    },
    "Tag": {"attributes": {"label": "required text"}},
    "Base": {"abstract": true}
  }
})";

/// A mapping between the two that leaves much to be inferred.
inline constexpr std::string_view kDiaryMapping = R"json({
  "source": "Diary 1",
  "destination": "Diary 2",
  "entityMappings": [
    {
      "name": "Images",
      "source": "Image",
      "destination": "Image",
      "policy": "DIImagePolicy",
      "attributes": {
        "data": "FUNCTION($entityPolicy, 'dataOfFile:', $source.file)",
        "id": "FUNCTION($entityPolicy, 'newIdentifier')"
      },
      "rest": "inferred"
    },
    {"rest": "inferred"},
    {
      "source": "Entry",
      "destination": "Entry",
      "attributes": {
        "by": {"value": "$source.author.name", "whenAbsent": "nobody"},
        "stars": "3"
      },
      "rest": "inferred"
    }
  ]
})json";

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
