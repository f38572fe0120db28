#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "CoreData/Migration/Mapping/MappingContent.h"

namespace coredata {

/// An entity mapping as a person writes it. What may be left out is empty then.
struct EntityMappingSource {
  std::string name;
  std::string source;
  std::string destination;
  std::string policy;
  /// Both in the order of names.
  std::vector<NSPropertyMapping> attributes;
  std::vector<NSPropertyMapping> relationships;
  /// Whether the properties that are not written are to be inferred.
  bool infersRest = false;

  friend bool operator==(const EntityMappingSource&, const EntityMappingSource&) = default;
};

/// A mapping as a person writes it, as plain data. The compiler holds it against both models.
struct MappingSource {
  /// The names of the two versions.
  std::string source;
  std::string destination;
  std::vector<EntityMappingSource> entityMappings;
  /// How many of them go before the mappings of all entities that are not named, when these are to
  /// be inferred.
  std::optional<std::size_t> restPlace;

  /// Reads a JSON source. Throws an `Error` of code `ModelErrorCode::unreadableSource` that names
  /// the place.
  [[nodiscard]] static MappingSource parse(std::string_view json);

  /// The source in its one normal form, ready to be parsed to the same again.
  [[nodiscard]] std::string text() const;

  friend bool operator==(const MappingSource&, const MappingSource&) = default;
};

/// A finished mapping as a source in which nothing is left to be inferred.
[[nodiscard]] MappingSource sourceOf(const MappingContent& content);

}  // namespace coredata
