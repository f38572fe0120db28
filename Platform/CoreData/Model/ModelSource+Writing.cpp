#include "CoreData/Model/ModelSource.h"
#include "CoreData/Model/Source/JsonWriting.h"

namespace coredata {
namespace {

std::string typeWords(const AttributeSource& attribute) {
  std::string words;
  if (!attribute.optional) words += "required ";
  if (attribute.scalar) words += "scalar ";
  if (attribute.transient) words += "transient ";
  return jsonText(words + std::string(name(attribute.type)));
}

bool isImplied(const foundation::Value& defaultValue, const AttributeSource& attribute) {
  if (defaultValue.isNone()) return true;
  return attribute.scalar && defaultValue == foundation::Value(0);
}

std::string attributeText(const AttributeSource& attribute) {
  JsonObject rest;
  if (!isImplied(attribute.defaultValue, attribute)) {
    rest.add("default", jsonConstant(attribute.defaultValue));
  }
  if (!attribute.hashModifier.empty()) rest.add("hashModifier", jsonText(attribute.hashModifier));
  if (!attribute.renamedFrom.empty()) rest.add("renamedFrom", jsonText(attribute.renamedFrom));
  if (rest.empty()) return typeWords(attribute);
  return "{\"type\": " + typeWords(attribute) + ", " + rest.text().substr(1);
}

std::string relationshipText(const RelationshipSource& relationship) {
  JsonObject text;
  text.add(relationship.toMany ? "toMany" : "toOne", jsonText(relationship.destination));
  if (!relationship.inverse.empty()) text.add("inverse", jsonText(relationship.inverse));
  if (relationship.deleteRule != NSDeleteRule::nullify) {
    text.add("deleteRule", jsonText(name(relationship.deleteRule)));
  }
  if (!relationship.optional) text.add("required", "true");
  if (!relationship.renamedFrom.empty())
    text.add("renamedFrom", jsonText(relationship.renamedFrom));
  return text.text();
}

std::string entityText(const EntitySource& entity) {
  const std::string indentation(8, ' ');
  JsonObject attributes(indentation);
  for (const auto& attribute : entity.attributes) {
    attributes.add(attribute.name, attributeText(attribute));
  }
  JsonObject relationships(indentation);
  for (const auto& relationship : entity.relationships) {
    relationships.add(relationship.name, relationshipText(relationship));
  }
  JsonObject indexes(indentation);
  for (const auto& index : entity.indexes) indexes.add(index.name, jsonList(index.properties));

  JsonObject text(std::string(6, ' '));
  if (entity.className != EntitySource().className) text.add("class", jsonText(entity.className));
  if (entity.abstract) text.add("abstract", "true");
  if (!entity.renamedFrom.empty()) text.add("renamedFrom", jsonText(entity.renamedFrom));
  if (!attributes.empty()) text.add("attributes", attributes.text());
  if (!relationships.empty()) text.add("relationships", relationships.text());
  if (!indexes.empty()) text.add("indexes", indexes.text());
  return text.text();
}

}  // namespace

std::string ModelSource::text() const {
  JsonObject entityTexts(std::string(4, ' '));
  for (const auto& entity : entities) entityTexts.add(entity.name, entityText(entity));
  JsonObject configurationTexts(std::string(4, ' '));
  for (const auto& configuration : configurations) {
    configurationTexts.add(configuration.name, jsonList(configuration.entities));
  }

  JsonObject model(std::string(2, ' '));
  model.add("identifiers", jsonList(identifiers));
  model.add("entities", entityTexts.text());
  model.add("configurations", configurationTexts.text());
  return model.text() + "\n";
}

}  // namespace coredata
