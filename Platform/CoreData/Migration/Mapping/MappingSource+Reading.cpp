#include <utility>

#include "CoreData/Migration/Mapping/MappingSource.h"
#include "CoreData/Model/Source/JsonReading.h"
#include "Foundation/Values/Error.h"

namespace coredata {
namespace {

MappingExpression readExpression(const std::string& text, const SourcePlace& place) {
  try {
    return MappingExpression::parse(text);
  } catch (const foundation::Error& error) {
    place.fail(error.message().substr(0, error.message().size() - 1));
  }
}

NSPropertyMapping readProperty(const std::string& name, const Json& value,
                               const SourcePlace& place) {
  if (value.is_string()) return {name, readExpression(value.get<std::string>(), place)};
  if (!value.is_object()) place.fail("expected a value expression or an object in braces");
  requireMembers(value, place, {"value", "whenAbsent"});
  foundation::Value whenAbsent;
  if (const auto* written = findMember(value, "whenAbsent")) {
    whenAbsent = requireConstant(*written, place / "whenAbsent");
  }
  return {name, readExpression(textMember(value, "value", place), place / "value"),
          std::move(whenAbsent)};
}

/// Whether the member that asks for the rest is there; it knows one value only.
bool readRest(const Json& object, const SourcePlace& place) {
  const auto* rest = findMember(object, "rest");
  if (rest == nullptr) return false;
  if (*rest != "inferred") (place / "rest").fail("expected \"inferred\"");
  return true;
}

EntityMappingSource readEntityMapping(const Json& value, const SourcePlace& place) {
  requireMembers(
      value, place,
      {"name", "source", "destination", "policy", "attributes", "relationships", "rest"});
  EntityMappingSource mapping;
  mapping.name = textMember(value, "name", place);
  mapping.source = textMember(value, "source", place);
  mapping.destination = textMember(value, "destination", place);
  mapping.policy = textMember(value, "policy", place);
  if (mapping.source.empty() && mapping.destination.empty()) {
    place.fail("expected a \"source\", a \"destination\" or both");
  }
  forEachMember(value, "attributes", place, [&](const auto& key, const auto& json, const auto& at) {
    mapping.attributes.push_back(readProperty(key, json, at));
  });
  forEachMember(value, "relationships", place,
                [&](const auto& key, const auto& json, const auto& at) {
                  mapping.relationships.push_back(readProperty(key, json, at));
                });
  mapping.infersRest = readRest(value, place);
  if (mapping.infersRest && (mapping.source.empty() || mapping.destination.empty())) {
    (place / "rest").fail("nothing can be inferred without a source and a destination");
  }
  return mapping;
}

void readElement(const Json& value, const SourcePlace& place, MappingSource& mapping) {
  requireObject(value, place);
  if (value.size() != 1 || !readRest(value, place)) {
    mapping.entityMappings.push_back(readEntityMapping(value, place));
  } else if (std::exchange(mapping.restPlace, mapping.entityMappings.size())) {
    place.fail("the rest stands there twice");
  }
}

std::string requireVersion(const Json& root, std::string_view member, const SourcePlace& top) {
  auto version = textMember(root, member, top);
  if (version.empty()) (top / member).fail("expected the name of a version");
  return version;
}

}  // namespace

MappingSource MappingSource::parse(std::string_view json) {
  const SourcePlace top("mapping");
  const auto root = parseSource(json, top);
  requireObject(root, top);
  requireMembers(root, top, {"source", "destination", "entityMappings"});
  MappingSource mapping;
  mapping.source = requireVersion(root, "source", top);
  mapping.destination = requireVersion(root, "destination", top);
  const auto* elements = findMember(root, "entityMappings");
  const auto place = top / "entityMappings";
  if (elements == nullptr || !elements->is_array()) place.fail("expected a list in brackets");
  for (std::size_t i = 0; i < elements->size(); ++i) {
    readElement((*elements)[i], place / std::to_string(i + 1), mapping);
  }
  return mapping;
}

}  // namespace coredata
