#include <array>
#include <charconv>
#include <cstdio>

#include "CoreData/Model/ModelSource.h"

namespace coredata {
namespace {

std::string quoted(std::string_view text) {
  std::string result = "\"";
  for (const char character : text) {
    const auto code = static_cast<unsigned char>(character);
    if (character == '"' || character == '\\') {
      result += '\\';
      result += character;
    } else if (code < 0x20) {
      std::array<char, 8> escape{};
      std::snprintf(escape.data(), escape.size(), "\\u%04x", static_cast<unsigned>(code));
      result += escape.data();
    } else {
      result += character;
    }
  }
  return result + '"';
}

/// The shortest digits that read back as the same number.
template <typename Number>
std::string digits(Number number) {
  std::array<char, 32> buffer{};
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number).ptr;
  return {buffer.data(), end};
}

std::string printed(const foundation::Value& value) {
  if (const auto* text = value.text()) return quoted(*text);
  const auto* number = value.number();
  if (number == nullptr) return "null";
  switch (number->kind()) {
    case foundation::NSNumber::Kind::boolean:
      return number->boolValue() ? "true" : "false";
    case foundation::NSNumber::Kind::integer:
      return digits(number->int64Value());
    case foundation::NSNumber::Kind::real:
      return digits(number->doubleValue());
  }
  return "null";
}

std::string list(const std::vector<std::string>& texts) {
  std::string result = "[";
  for (const auto& text : texts) result += (result.size() == 1 ? "" : ", ") + quoted(text);
  return result + "]";
}

/// An object written member by member, on one line or with a line each.
class ObjectText {
 public:
  /// `indentation` stands before each member; an empty one keeps all on one line.
  explicit ObjectText(std::string indentation = {}) : indentation_(std::move(indentation)) {}

  void add(std::string_view member, const std::string& value) {
    if (!members_.empty()) members_ += indentation_.empty() ? ", " : ",\n";
    members_ += indentation_ + quoted(member) + ": " + value;
  }

  [[nodiscard]] bool empty() const noexcept { return members_.empty(); }
  [[nodiscard]] std::string text() const {
    if (indentation_.empty() || members_.empty()) return "{" + members_ + "}";
    return "{\n" + members_ + "\n" + indentation_.substr(2) + "}";
  }

 private:
  std::string indentation_;
  std::string members_;
};

std::string typeWords(const AttributeSource& attribute) {
  std::string words;
  if (!attribute.optional) words += "required ";
  if (attribute.scalar) words += "scalar ";
  if (attribute.transient) words += "transient ";
  return quoted(words + std::string(name(attribute.type)));
}

bool isImplied(const foundation::Value& defaultValue, const AttributeSource& attribute) {
  if (defaultValue.isNone()) return true;
  return attribute.scalar && defaultValue == foundation::Value(0);
}

std::string attributeText(const AttributeSource& attribute) {
  ObjectText rest;
  if (!isImplied(attribute.defaultValue, attribute)) {
    rest.add("default", printed(attribute.defaultValue));
  }
  if (!attribute.hashModifier.empty()) rest.add("hashModifier", quoted(attribute.hashModifier));
  if (!attribute.renamedFrom.empty()) rest.add("renamedFrom", quoted(attribute.renamedFrom));
  if (rest.empty()) return typeWords(attribute);
  return "{\"type\": " + typeWords(attribute) + ", " + rest.text().substr(1);
}

std::string relationshipText(const RelationshipSource& relationship) {
  ObjectText text;
  text.add(relationship.toMany ? "toMany" : "toOne", quoted(relationship.destination));
  if (!relationship.inverse.empty()) text.add("inverse", quoted(relationship.inverse));
  if (relationship.deleteRule != NSDeleteRule::nullify) {
    text.add("deleteRule", quoted(name(relationship.deleteRule)));
  }
  if (!relationship.optional) text.add("required", "true");
  if (!relationship.renamedFrom.empty()) text.add("renamedFrom", quoted(relationship.renamedFrom));
  return text.text();
}

std::string entityText(const EntitySource& entity) {
  const std::string indentation(8, ' ');
  ObjectText attributes(indentation);
  for (const auto& attribute : entity.attributes) {
    attributes.add(attribute.name, attributeText(attribute));
  }
  ObjectText relationships(indentation);
  for (const auto& relationship : entity.relationships) {
    relationships.add(relationship.name, relationshipText(relationship));
  }
  ObjectText indexes(indentation);
  for (const auto& index : entity.indexes) indexes.add(index.name, list(index.properties));

  ObjectText text(std::string(6, ' '));
  if (entity.className != EntitySource().className) text.add("class", quoted(entity.className));
  if (entity.abstract) text.add("abstract", "true");
  if (!entity.renamedFrom.empty()) text.add("renamedFrom", quoted(entity.renamedFrom));
  if (!attributes.empty()) text.add("attributes", attributes.text());
  if (!relationships.empty()) text.add("relationships", relationships.text());
  if (!indexes.empty()) text.add("indexes", indexes.text());
  return text.text();
}

}  // namespace

std::string ModelSource::text() const {
  ObjectText entityTexts(std::string(4, ' '));
  for (const auto& entity : entities) entityTexts.add(entity.name, entityText(entity));
  ObjectText configurationTexts(std::string(4, ' '));
  for (const auto& configuration : configurations) {
    configurationTexts.add(configuration.name, list(configuration.entities));
  }

  ObjectText model(std::string(2, ' '));
  model.add("identifiers", list(identifiers));
  model.add("entities", entityTexts.text());
  model.add("configurations", configurationTexts.text());
  return model.text() + "\n";
}

}  // namespace coredata
