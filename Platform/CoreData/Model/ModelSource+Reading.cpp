#include <algorithm>
#include <functional>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <sstream>
#include <utility>

#include "CoreData/Model/ModelError.h"
#include "CoreData/Model/ModelSource.h"

namespace coredata {
namespace {

using Json = nlohmann::json;

/// Deeper than any source goes, and shallow enough for hostile input to cost nothing.
constexpr int kGreatestDepth = 8;

[[noreturn]] void fail(const std::string& place, const std::string& what) {
  throw modelError(ModelErrorCode::unreadableSource,
                   "The model source cannot be read at " + place + ": " + what + ".");
}

std::string inside(const std::string& place, std::string_view member) {
  return place.empty() ? std::string(member) : place + "." + std::string(member);
}

/// Refuses what JSON lets pass and a person did not mean: one member written twice, of which the
/// last would win.
class DuplicateGuard {
 public:
  bool operator()(int depth, Json::parse_event_t event, Json& parsed) {
    if (depth > kGreatestDepth) fail("depth " + std::to_string(depth), "nothing lies that deep");
    switch (event) {
      case Json::parse_event_t::object_start:
        open_.emplace_back();
        break;
      case Json::parse_event_t::object_end:
        open_.pop_back();
        break;
      case Json::parse_event_t::key:
        noteMember(parsed.get_ref<const std::string&>());
        break;
      case Json::parse_event_t::array_start:
      case Json::parse_event_t::array_end:
      case Json::parse_event_t::value:
        break;
    }
    return true;
  }

  /// Where the parser is.
  [[nodiscard]] std::string place() const {
    std::string path;
    for (const auto& object : open_) path = inside(path, object.latest);
    return path.empty() ? "the top" : path;
  }

 private:
  struct OpenObject {
    std::set<std::string, std::less<>> members;
    std::string latest;
  };

  void noteMember(const std::string& member) {
    auto& object = open_.back();
    object.latest = member;
    if (!object.members.insert(member).second) fail(place(), "this member stands there twice");
  }

  std::vector<OpenObject> open_;
};

std::string lineAndColumn(std::string_view text, std::size_t byte) {
  const auto before = text.substr(0, byte == 0 ? 0 : byte - 1);
  const auto lines = std::ranges::count(before, '\n');
  const auto lineStart = before.rfind('\n');
  const auto column = before.size() - (lineStart == std::string_view::npos ? 0 : lineStart + 1);
  return "line " + std::to_string(lines + 1) + ", column " + std::to_string(column + 1);
}

/// What the parser found wrong, without the identifier and the position that it puts before it.
std::string complaint(const Json::parse_error& error) {
  const std::string_view message(error.what());
  const auto colon = message.find(": ");
  return std::string(colon == std::string_view::npos ? message : message.substr(colon + 2));
}

Json parseJson(std::string_view text) {
  DuplicateGuard guard;
  try {
    return Json::parse(text, std::ref(guard));
  } catch (const Json::out_of_range&) {
    fail(guard.place(), "the number is too large");
  } catch (const Json::parse_error& error) {
    fail(lineAndColumn(text, error.byte), complaint(error));
  }
}

void requireObject(const Json& value, const std::string& place) {
  if (!value.is_object()) fail(place, "expected an object in braces");
}

std::string requireText(const Json& value, const std::string& place) {
  if (!value.is_string()) fail(place, "expected a text");
  return value.get<std::string>();
}

std::vector<std::string> requireTexts(const Json& value, const std::string& place) {
  if (!value.is_array()) fail(place, "expected a list of texts in brackets");
  std::vector<std::string> texts;
  for (const auto& element : value) texts.push_back(requireText(element, place));
  return texts;
}

void requireMembers(const Json& object, const std::string& place,
                    std::initializer_list<std::string_view> known) {
  for (const auto& [member, value] : object.items()) {
    if (std::ranges::find(known, std::string_view(member)) != known.end()) continue;
    std::string names;
    for (const auto name : known) names += (names.empty() ? "" : ", ") + std::string(name);
    fail(inside(place, member), "there is no such member; known are " + names);
  }
}

const Json* find(const Json& object, const char* member) {
  const auto found = object.find(member);
  return found == object.end() ? nullptr : &*found;
}

std::string textMember(const Json& object, const char* member, const std::string& place) {
  const auto* value = find(object, member);
  return value == nullptr ? std::string() : requireText(*value, inside(place, member));
}

bool flagMember(const Json& object, const char* member, const std::string& place) {
  const auto* value = find(object, member);
  if (value == nullptr) return false;
  if (!value->is_boolean()) fail(inside(place, member), "expected true or false");
  return value->get<bool>();
}

/// Calls `use` with the name, the value and the place of each member of an object that may be left
/// out.
template <typename Use>
void forEachMember(const Json& object, const char* member, const std::string& place, Use use) {
  const auto* members = find(object, member);
  if (members == nullptr) return;
  const auto where = inside(place, member);
  requireObject(*members, where);
  for (const auto& [name, value] : members->items()) {
    use(name, value, inside(where, name));
  }
}

void setWord(bool& flag, const std::string& word, const std::string& place) {
  if (std::exchange(flag, true)) fail(place, "\"" + word + "\" stands there twice");
}

/// A type with the words that qualify it, as in "required text" or "scalar integer16".
void readType(const std::string& words, const std::string& place, AttributeSource& attribute) {
  std::istringstream stream(words);
  bool required = false;
  std::optional<NSAttributeType> type;
  for (std::string word; stream >> word;) {
    if (type) fail(place, "the type \"" + std::string(name(*type)) + "\" comes last");
    if (word == "required") {
      setWord(required, word, place);
    } else if (word == "scalar") {
      setWord(attribute.scalar, word, place);
    } else if (word == "transient") {
      setWord(attribute.transient, word, place);
    } else if (type = attributeTypeNamed(word); !type) {
      fail(place, "there is no type \"" + word + "\"");
    }
  }
  if (!type) fail(place, "expected a type, such as \"text\" or \"scalar integer16\"");
  attribute.type = *type;
  attribute.optional = !required;
}

foundation::Value readDefault(const Json& value, const std::string& place) {
  switch (value.type()) {
    case Json::value_t::boolean:
      return value.get<bool>();
    case Json::value_t::number_integer:
      return value.get<std::int64_t>();
    case Json::value_t::number_float:
      return value.get<double>();
    case Json::value_t::string:
      return value.get<std::string>();
    case Json::value_t::number_unsigned:
      // What fits the signed kind reads as that; the rest is beyond any stored number.
      if (value.get<std::uint64_t>() <= INT64_MAX) return value.get<std::int64_t>();
      fail(place, "the number is too large");
    case Json::value_t::null:
    case Json::value_t::object:
    case Json::value_t::array:
    case Json::value_t::binary:
    case Json::value_t::discarded:
      break;
  }
  fail(place, "expected a number, a text, true or false");
}

AttributeSource readAttribute(const std::string& name, const Json& value,
                              const std::string& place) {
  AttributeSource attribute;
  attribute.name = name;
  if (value.is_string()) {
    readType(value.get<std::string>(), place, attribute);
    return attribute;
  }
  if (!value.is_object()) fail(place, "expected a type or an object in braces");
  requireMembers(value, place, {"type", "default", "hashModifier", "renamedFrom"});
  readType(textMember(value, "type", place), place, attribute);
  if (const auto* written = find(value, "default")) {
    attribute.defaultValue = readDefault(*written, inside(place, "default"));
  }
  attribute.hashModifier = textMember(value, "hashModifier", place);
  attribute.renamedFrom = textMember(value, "renamedFrom", place);
  return attribute;
}

NSDeleteRule readDeleteRule(const Json& object, const std::string& place) {
  const auto text = textMember(object, "deleteRule", place);
  if (text.empty()) return NSDeleteRule::nullify;
  const auto rule = deleteRuleNamed(text);
  if (!rule) fail(inside(place, "deleteRule"), "there is no delete rule \"" + text + "\"");
  return *rule;
}

RelationshipSource readRelationship(const std::string& name, const Json& value,
                                    const std::string& place) {
  requireObject(value, place);
  requireMembers(value, place,
                 {"toOne", "toMany", "inverse", "deleteRule", "required", "renamedFrom"});
  RelationshipSource relationship;
  relationship.name = name;
  relationship.toMany = value.contains("toMany");
  if (relationship.toMany == value.contains("toOne")) {
    fail(place, "expected either \"toOne\" or \"toMany\" with an entity");
  }
  relationship.destination = textMember(value, relationship.toMany ? "toMany" : "toOne", place);
  relationship.inverse = textMember(value, "inverse", place);
  relationship.optional = !flagMember(value, "required", place);
  relationship.deleteRule = readDeleteRule(value, place);
  relationship.renamedFrom = textMember(value, "renamedFrom", place);
  return relationship;
}

EntitySource readEntity(const std::string& name, const Json& value, const std::string& place) {
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
                                      const std::string& place, const ModelSource& model) {
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
  const auto root = parseJson(json);
  requireObject(root, "the top");
  requireMembers(root, "", {"identifiers", "entities", "configurations"});
  ModelSource model;
  if (const auto* identifiers = find(root, "identifiers")) {
    model.identifiers = requireTexts(*identifiers, "identifiers");
  }
  forEachMember(root, "entities", "", [&](const auto& name, const auto& value, const auto& place) {
    model.entities.push_back(readEntity(name, value, place));
  });
  forEachMember(root, "configurations", "",
                [&](const auto& name, const auto& value, const auto& place) {
                  model.configurations.push_back(readConfiguration(name, value, place, model));
                });
  return model;
}

}  // namespace coredata
