#include "CoreData/Migration/Mapping/MappingSource.h"
#include "CoreData/Model/Source/JsonWriting.h"

namespace coredata {
namespace {

constexpr std::string_view kRest = "inferred";

std::string propertyText(const NSPropertyMapping& property) {
  auto expression = jsonText(property.valueExpression().description('\''));
  if (property.absentReplacement().isNone()) return expression;
  JsonObject object;
  object.add("value", expression);
  object.add("whenAbsent", jsonConstant(property.absentReplacement()));
  return object.text();
}

void addProperties(JsonObject& object, std::string_view member,
                   const std::vector<NSPropertyMapping>& properties) {
  JsonObject texts(std::string(8, ' '));
  for (const auto& property : properties) texts.add(property.name(), propertyText(property));
  if (!texts.empty()) object.add(member, texts.text());
}

void addName(JsonObject& object, std::string_view member, const std::string& name) {
  if (!name.empty()) object.add(member, jsonText(name));
}

std::string entityMappingText(const EntityMappingSource& mapping) {
  JsonObject object(std::string(6, ' '));
  addName(object, "name", mapping.name);
  addName(object, "source", mapping.source);
  addName(object, "destination", mapping.destination);
  addName(object, "policy", mapping.policy);
  addProperties(object, "attributes", mapping.attributes);
  addProperties(object, "relationships", mapping.relationships);
  if (mapping.infersRest) object.add("rest", jsonText(kRest));
  return object.text();
}

std::string restText() {
  JsonObject object;
  object.add("rest", jsonText(kRest));
  return object.text();
}

std::string listText(const std::vector<std::string>& elements) {
  std::string text = "[";
  for (const auto& element : elements) text += (text.size() == 1 ? "\n    " : ",\n    ") + element;
  return text + (elements.empty() ? "]" : "\n  ]");
}

}  // namespace

std::string MappingSource::text() const {
  std::vector<std::string> elements;
  for (std::size_t i = 0; i <= entityMappings.size(); ++i) {
    if (restPlace == i) elements.push_back(restText());
    if (i < entityMappings.size()) elements.push_back(entityMappingText(entityMappings[i]));
  }
  JsonObject object(std::string(2, ' '));
  object.add("source", jsonText(source));
  object.add("destination", jsonText(destination));
  object.add("entityMappings", listText(elements));
  return object.text() + "\n";
}

MappingSource sourceOf(const MappingContent& content) {
  MappingSource source{content.sourceVersion, content.destinationVersion, {}, std::nullopt};
  for (const auto& mapping : content.entityMappings) {
    source.entityMappings.push_back(
        {mapping.name, mapping.sourceEntity.value_or(""), mapping.destinationEntity.value_or(""),
         mapping.policyClass.value_or(""), mapping.attributes, mapping.relationships, false});
  }
  return source;
}

}  // namespace coredata
