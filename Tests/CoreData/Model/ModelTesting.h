#pragma once

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "CoreData/Model/ModelBuilder.h"
#include "CoreData/Model/ModelError.h"
#include "CoreData/Model/ModelSource.h"
#include "Foundation/Values/Error.h"

namespace coredata {

/// A small model with one of everything.
inline constexpr std::string_view kLibrary = R"({
  "identifiers": ["Library 2", "Reading"],
  "entities": {
    "Book": {
      "class": "LIBook",
      "attributes": {
        "title": "required text",
        "pages": "scalar integer32",
        "price": {"type": "scalar double", "default": 9.5},
        "language": {"type": "text", "default": "en"},
        "lent": {"type": "boolean", "default": true, "hashModifier": "2"},
        "isbn": {"type": "integer64", "renamedFrom": "number"},
        "label": "transient text",
        "cover": "binary",
        "code": "uuid",
        "bought": "date"
      },
      "relationships": {
        "author": {"toOne": "Author", "inverse": "books"},
        "shelf": {"toOne": "Shelf", "required": true}
      },
      "indexes": {
        "byAuthorAndTitle": ["author", "title"],
        "byCode": ["code"]
      }
    },
    "Author": {
      "renamedFrom": "Writer",
      "attributes": {"name": "text"},
      "relationships": {
        "books": {"toMany": "Book", "inverse": "author", "deleteRule": "cascade"},
        "articles": {"toMany": "Article", "inverse": "author", "deleteRule": "deny"}
      }
    },
    "Article": {
      "abstract": true,
      "relationships": {
        "author": {"toOne": "Author", "inverse": "articles", "deleteRule": "noAction"}
      }
    },
    "Shelf": {}
  },
  "configurations": {
    "All": "*",
    "Printed": ["Book", "Shelf"]
  }
})";

[[nodiscard]] inline ModelSource librarySource() {
  auto source = ModelSource::parse(kLibrary);
  source.normalize();
  return source;
}

[[nodiscard]] inline AttributeSource attributeSource(std::string name, NSAttributeType type,
                                                     foundation::Value defaultValue = {}) {
  AttributeSource attribute;
  attribute.name = std::move(name);
  attribute.type = type;
  attribute.defaultValue = std::move(defaultValue);
  return attribute;
}

[[nodiscard]] inline EntitySource entitySource(std::string name,
                                               std::vector<AttributeSource> attributes = {}) {
  EntitySource entity;
  entity.name = std::move(name);
  entity.attributes = std::move(attributes);
  return entity;
}

/// The error that the call throws; none when it throws none.
template <typename Call>
std::optional<foundation::Error> errorOf(Call call) {
  try {
    call();
  } catch (const foundation::Error& error) {
    return error;
  }
  return std::nullopt;
}

/// What the call is refused with; empty when it is not.
template <typename Call>
std::string refusalOf(Call call) {
  const auto error = errorOf(call);
  return error ? error->message() : std::string();
}

inline std::string refusalOfSource(std::string_view json) {
  return refusalOf([json] { static_cast<void>(modelFromSource(json)); });
}

/// Makes the file, or takes its place.
inline void write(const std::filesystem::path& path, std::string_view content) {
  std::ofstream(path, std::ios::binary) << content;
}

}  // namespace coredata
