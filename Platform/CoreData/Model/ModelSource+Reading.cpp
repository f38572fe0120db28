#include <optional>
#include <sstream>
#include <utility>

#include "CoreData/Model/ModelSource.h"
#include "CoreData/Model/Source/JsonReading.h"

namespace coredata {
namespace {

void setWord(bool& flag, const std::string& word, const SourcePlace& place) {
  if (std::exchange(flag, true)) place.fail("\"" + word + "\" stands there twice");
}

/// A type with the words that qualify it, as in "required text" or "scalar integer16".
void readType(const std::string& words, const SourcePlace& place, AttributeSource& attribute) {
  std::istringstream stream(words);
  bool required = false;
  std::optional<NSAttributeType> type;
  for (std::string word; stream >> word;) {
    if (type) place.fail("the type \"" + std::string(name(*type)) + "\" comes last");
    if (word == "required") {
      setWord(required, word, place);
    } else if (word == "scalar") {
      setWord(attribute.scalar, word, place);
    } else if (word == "transient") {
      setWord(attribute.transient, word, place);
    } else if (type = attributeTypeNamed(word); !type) {
      place.fail("there is no type \"" + word + "\"");
    }
  }
  if (!type) place.fail("expected a type, such as \"text\" or \"scalar integer16\"");
  attribute.type = *type;
  attribute.optional = !required;
}

AttributeSource readAttribute(const std::string& name, const Json& value,
                              const SourcePlace& place) {
  AttributeSource attribute;
  attribute.name = name;
  if (value.is_string()) {
    readType(value.get<std::string>(), place, attribute);
    return attribute;
  }
  if (!value.is_object()) place.fail("expected a type or an object in braces");
  requireMembers(value, place, {"type", "default", "hashModifier", "renamedFrom"});
  readType(textMember(value, "type", place), place, attribute);
  if (const auto* written = findMember(value, "default")) {
    attribute.defaultValue = requireConstant(*written, place / "default");
  }
  attribute.hashModifier = textMember(value, "hashModifier", place);
  attribute.renamedFrom = textMember(value, "renamedFrom", place);
  return attribute;
}

NSDeleteRule readDeleteRule(const Json& object, const SourcePlace& place) {
  const auto text = textMember(object, "deleteRule", place);
  if (text.empty()) return NSDeleteRule::nullify;
  const auto rule = deleteRuleNamed(text);
  if (!rule) (place / "deleteRule").fail("there is no delete rule \"" + text + "\"");
  return *rule;
}

RelationshipSource readRelationship(const std::string& name, const Json& value,
                                    const SourcePlace& place) {
  requireObject(value, place);
  requireMembers(value, place,
                 {"toOne", "toMany", "inverse", "deleteRule", "required", "renamedFrom"});
  RelationshipSource relationship;
  relationship.name = name;
  relationship.toMany = value.contains("toMany");
  if (relationship.toMany == value.contains("toOne")) {
    place.fail("expected either \"toOne\" or \"toMany\" with an entity");
  }
  relationship.destination = textMember(value, relationship.toMany ? "toMany" : "toOne", place);
  relationship.inverse = textMember(value, "inverse", place);
  relationship.optional = !flagMember(value, "required", place);
  relationship.deleteRule = readDeleteRule(value, place);
  relationship.renamedFrom = textMember(value, "renamedFrom", place);
  return relationship;
}

EntitySource readEntity(const std::string& name, const Json& value, const SourcePlace& place) {
  requireObject(value, place);
  requireMembers(value, place,
                 {"class", "abstract", "renamedFrom", "attributes", "relationships", "indexes"});
  EntitySource entity;
  entity.name = name;
  if (value.contains("class")) entity.className = textMember(value, "class", place);
  entity.abstract = flagMember(value, "abstract", place);
  entity.renamedFrom = textMember(value, "renamedFrom", place);
  forEachMember(value, "attributes", place, [&](const auto& key, const auto& json, const auto& at) {
    entity.attributes.push_back(readAttribute(key, json, at));
  });
  forEachMember(value, "relationships", place,
                [&](const auto& key, const auto& json, const auto& at) {
                  entity.relationships.push_back(readRelationship(key, json, at));
                });
  forEachMember(value, "indexes", place, [&](const auto& key, const auto& json, const auto& at) {
    entity.indexes.push_back({key, requireTexts(json, at)});
  });
  return entity;
}

ConfigurationSource readConfiguration(const std::string& name, const Json& value,
                                      const SourcePlace& place, const ModelSource& model) {
  ConfigurationSource configuration{name, {}};
  if (value == "*") {
    for (const auto& entity : model.entities) configuration.entities.push_back(entity.name);
  } else {
    configuration.entities = requireTexts(value, place);
  }
  return configuration;
}

}  // namespace

ModelSource ModelSource::parse(std::string_view json) {
  const SourcePlace top("model");
  const auto root = parseSource(json, top);
  requireObject(root, top);
  requireMembers(root, top, {"identifiers", "entities", "configurations"});
  ModelSource model;
  if (const auto* identifiers = findMember(root, "identifiers")) {
    model.identifiers = requireTexts(*identifiers, top / "identifiers");
  }
  forEachMember(root, "entities", top, [&](const auto& name, const auto& value, const auto& place) {
    model.entities.push_back(readEntity(name, value, place));
  });
  forEachMember(root, "configurations", top,
                [&](const auto& name, const auto& value, const auto& place) {
                  model.configurations.push_back(readConfiguration(name, value, place, model));
                });
  return model;
}

}  // namespace coredata
