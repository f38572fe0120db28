#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "CoreData/Model/NSAttributeType.h"
#include "CoreData/Model/NSDeleteRule.h"
#include "Foundation/Values/Value.h"

namespace coredata {

/// An attribute as a person declares it.
struct AttributeSource {
  std::string name;
  NSAttributeType type = NSAttributeType::undefined;
  bool optional = true;
  bool scalar = false;
  bool transient = false;
  foundation::Value defaultValue;
  std::string hashModifier;
  std::string renamedFrom;

  friend bool operator==(const AttributeSource&, const AttributeSource&) = default;
};

/// A relationship as a person declares it; without an inverse only when it is a one-way to-one.
struct RelationshipSource {
  std::string name;
  std::string destination;
  std::string inverse;
  bool toMany = false;
  bool optional = true;
  NSDeleteRule deleteRule = NSDeleteRule::nullify;
  std::string renamedFrom;

  friend bool operator==(const RelationshipSource&, const RelationshipSource&) = default;
};

struct IndexSource {
  std::string name;
  /// The indexed properties, first the one that leads.
  std::vector<std::string> properties;

  friend bool operator==(const IndexSource&, const IndexSource&) = default;
};

struct EntitySource {
  std::string name;
  std::string className = "NSManagedObject";
  std::string renamedFrom;
  bool abstract = false;
  std::vector<AttributeSource> attributes;
  std::vector<RelationshipSource> relationships;
  std::vector<IndexSource> indexes;

  friend bool operator==(const EntitySource&, const EntitySource&) = default;
};

struct ConfigurationSource {
  std::string name;
  std::vector<std::string> entities;

  friend bool operator==(const ConfigurationSource&, const ConfigurationSource&) = default;
};

/// A model before it is checked and numbered: what a source says, as plain data. `ModelBuilder`
/// makes the model.
struct ModelSource {
  std::vector<EntitySource> entities;
  std::vector<ConfigurationSource> configurations;
  std::vector<std::string> identifiers;

  /// Reads a JSON source. Throws an `Error` of code `ModelErrorCode::unreadableSource` that names
  /// the place: line and column where the text is no JSON, the path of members where the JSON says
  /// something else than a model. Whether the parts fit together is the builder's to find out.
  [[nodiscard]] static ModelSource parse(std::string_view json);

  /// The source in its one normal form: sorted by name, defaults left out, ready to be parsed to
  /// the same again.
  [[nodiscard]] std::string text() const;

  /// Sorts everything whose order means nothing, so that equal models have equal sources.
  void normalize();

  friend bool operator==(const ModelSource&, const ModelSource&) = default;
};

}  // namespace coredata
