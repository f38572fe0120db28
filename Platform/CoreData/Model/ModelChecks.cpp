#include "CoreData/Model/ModelChecks.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

#include "CoreData/Model/Compiled/Utf8.h"
#include "CoreData/Model/ModelError.h"
#include "CoreData/Model/NSPropertyDescription.h"
#include "CoreData/Model/QuotedName.h"
#include "Foundation/Internal/ASCII.h"

namespace coredata {
namespace {

namespace ascii = foundation::ascii;
using foundation::NSNumber;

/// Far more than a person writes, and few enough for every count to fit the numbers that stand for
/// them.
constexpr std::size_t kMostEntities = 1024;
constexpr std::size_t kMostProperties = 1024;
constexpr std::size_t kLongestName = 64;

/// What messages call the thing at fault; put together only for a message.
struct Place {
  const EntitySource* entity = nullptr;
  std::string_view property;

  [[nodiscard]] std::string text() const {
    if (entity == nullptr) return "The model";
    return "\"" + entity->name + (property.empty() ? "" : "." + std::string(property)) + "\"";
  }
};

[[noreturn]] void fail(const Place& place, const std::string& what) {
  throw modelError(ModelErrorCode::invalidModel, place.text() + " " + what + ".");
}

bool isPlainName(std::string_view name) {
  return !name.empty() && ascii::isLetter(name.front()) &&
         std::ranges::all_of(name, [](char c) { return ascii::isLetter(c) || ascii::isDigit(c); });
}

bool isSameWord(std::string_view a, std::string_view b) {
  return std::ranges::equal(a, b, {}, ascii::lowered, ascii::lowered);
}

/// Names become tables and columns, parts of index names and words of predicates. Underscores are
/// left to the store's own columns and to what joins an entity's name with an index's.
void checkName(const Place& place, std::string_view what, std::string_view name) {
  if (name.size() > kLongestName) {
    fail(place, "has " + std::string(what) + " of more than " + std::to_string(kLongestName) +
                    " characters");
  }
  if (isPlainName(name)) return;
  fail(place, "has " + std::string(what) + " " + quotedName(name) +
                  ", which is not a letter followed by letters and digits");
}

/// SQLite reads these as its own name of the row, unless a column takes them over.
bool isReservedForRows(std::string_view name) {
  return isSameWord(name, "rowid") || isSameWord(name, "oid");
}

/// The store's identifiers do not tell upper from lower case.
void requireDistinct(const Place& place, std::string_view what,
                     std::vector<std::string_view> names) {
  const auto before = [](std::string_view a, std::string_view b) {
    return std::ranges::lexicographical_compare(a, b, {}, ascii::lowered, ascii::lowered);
  };
  std::ranges::sort(names, before);
  const auto twin = std::ranges::adjacent_find(names, isSameWord);
  if (twin == names.end()) return;
  const auto other = *std::next(twin);
  const auto message =
      "has two " + std::string(what) + " named " + quotedName(std::min(*twin, other));
  if (*twin == other) fail(place, message);
  fail(place, message + " and " + quotedName(std::max(*twin, other)) +
                  ", which the store cannot tell apart");
}

template <typename Named>
void appendNames(const std::vector<Named>& list, std::vector<std::string_view>& names) {
  names.reserve(names.size() + list.size());
  for (const auto& element : list) names.push_back(element.name);
}

template <typename Renamed>
void appendOldNames(const std::vector<Renamed>& list, std::vector<std::string_view>& names) {
  for (const auto& element : list) {
    if (!element.renamedFrom.empty()) names.push_back(element.renamedFrom);
  }
}

template <typename Named>
const Named* find(const std::vector<Named>& sorted, std::string_view name) {
  const auto found = std::ranges::lower_bound(sorted, name, {}, &Named::name);
  return found == sorted.end() || found->name != name ? nullptr : &*found;
}

constexpr std::pair<std::int64_t, std::int64_t> range(NSAttributeType type) {
  if (type == NSAttributeType::integer16) return {INT16_MIN, INT16_MAX};
  if (type == NSAttributeType::integer32) return {INT32_MIN, INT32_MAX};
  return {INT64_MIN, INT64_MAX};
}

void checkNumber(const Place& place, const NSNumber& number, NSAttributeType type) {
  const bool fits = [&] {
    if (type == NSAttributeType::boolean) return number.kind() == NSNumber::Kind::boolean;
    if (type == NSAttributeType::double_) return number.isReal();
    return number.kind() == NSNumber::Kind::integer;
  }();
  if (!fits) {
    fail(place, "is of type " + std::string(name(type)) + " and cannot start with " +
                    number.stringValue());
  }
  if (number.isReal() && !std::isfinite(number.doubleValue())) {
    fail(place, "has a default that is no finite number");
  }
  const auto [least, greatest] = range(type);
  const auto whole = number.int64Value();
  if (!number.isReal() && (whole < least || whole > greatest)) {
    fail(place, "has the default " + number.stringValue() + ", which " + std::string(name(type)) +
                    " does not hold");
  }
}

void checkText(const Place& place, std::string_view what, std::string_view text) {
  if (!isWellFormedUtf8(text)) fail(place, "has " + std::string(what) + " that is not UTF-8");
}

void checkDefault(const Place& place, const AttributeSource& attribute) {
  const auto& value = attribute.defaultValue;
  if (value.isNone()) return;
  if (attribute.transient) fail(place, "is transient and has a default, but is never stored");
  if (const auto* number = value.number(); number != nullptr && isNumeric(attribute.type)) {
    return checkNumber(place, *number, attribute.type);
  }
  if (value.text() != nullptr && attribute.type == NSAttributeType::string) {
    return checkText(place, "a default", *value.text());
  }
  if (!isNumeric(attribute.type) && attribute.type != NSAttributeType::string) {
    fail(place, "is of type " + std::string(name(attribute.type)) + ", which has no defaults");
  }
  fail(place, "has a default that is no " + std::string(name(attribute.type)));
}

void checkAttribute(const EntitySource& entity, const AttributeSource& attribute) {
  const Place place{&entity, attribute.name};
  if (!attributeTypeNumbered(static_cast<std::uint16_t>(attribute.type))) {
    fail(place, "has no type");
  }
  if (attribute.scalar && !isNumeric(attribute.type)) {
    fail(place, "is scalar, but " + std::string(name(attribute.type)) + " is no number");
  }
  if (attribute.scalar && attribute.transient) {
    fail(place, "is scalar and transient, but only what is stored can start at 0");
  }
  checkDefault(place, attribute);
  checkText(place, "a hash modifier", attribute.hashModifier);
}

void checkInverse(const EntitySource& entity, const RelationshipSource& relationship,
                  const EntitySource& destination) {
  const Place place{&entity, relationship.name};
  const auto there = [&] { return quotedName(destination.name + "." + relationship.inverse); };
  const auto* inverse = find(destination.relationships, relationship.inverse);
  if (inverse == nullptr) fail(place, "has the inverse " + there() + ", which does not exist");
  if (inverse == &relationship) fail(place, "is its own inverse");
  if (inverse->destination != entity.name || inverse->inverse != relationship.name) {
    const auto back =
        inverse->inverse.empty()
            ? "no inverse"
            : "the inverse " + quotedName(inverse->destination + "." + inverse->inverse);
    fail(place, "has the inverse " + there() + ", which has " + back);
  }
  if (relationship.toMany && inverse->toMany) {
    fail(place, "and its inverse " + there() +
                    " are both to-many; put an entity between the two, with a to-one to each");
  }
}

void checkRelationship(const ModelSource& model, const EntitySource& entity,
                       const RelationshipSource& relationship) {
  const Place place{&entity, relationship.name};
  const auto* destination = find(model.entities, relationship.destination);
  if (destination == nullptr) {
    fail(place, "leads to " + quotedName(relationship.destination) + ", which is no entity");
  }
  if (!relationship.inverse.empty()) return checkInverse(entity, relationship, *destination);
  if (relationship.toMany) {
    fail(place, "is to-many and has no inverse; what it leads to is found by the inverse to-one");
  }
}

void checkIndexedProperty(const EntitySource& entity, const IndexSource& index,
                          const std::string& property) {
  const Place place{&entity, {}};
  const auto failOver = [&](std::string_view what) {
    fail(place, "has the index " + quotedName(index.name) + " over " + quotedName(property) +
                    ", which is " + std::string(what));
  };
  if (const auto* attribute = find(entity.attributes, property)) {
    if (attribute->transient) failOver("transient");
    return;
  }
  const auto* relationship = find(entity.relationships, property);
  if (relationship == nullptr) return failOver("no property of it");
  if (relationship->toMany) failOver("to-many and has no column");
}

void checkIndex(const EntitySource& entity, const IndexSource& index) {
  const Place place{&entity, {}};
  checkName(place, "an index name", index.name);
  if (index.properties.empty())
    fail(place, "has the index " + quotedName(index.name) + " over nothing");
  if (index.properties.size() > kMaxSlots) {
    fail(place, "has the index " + quotedName(index.name) + " over more columns than there can be");
  }
  for (const auto& property : index.properties) checkIndexedProperty(entity, index, property);
  auto sorted = index.properties;
  std::ranges::sort(sorted);
  if (const auto twin = std::ranges::adjacent_find(sorted); twin != sorted.end()) {
    fail(place,
         "has the index " + quotedName(index.name) + " over " + quotedName(*twin) + " twice");
  }
}

void checkSlotCount(const EntitySource& entity) {
  const auto stored = std::ranges::count(entity.attributes, false, &AttributeSource::transient) +
                      std::ranges::count(entity.relationships, false, &RelationshipSource::toMany);
  if (std::cmp_less_equal(stored, kMaxSlots)) return;
  fail({&entity, {}}, "has " + std::to_string(stored) + " stored properties; an entity holds " +
                          std::to_string(kMaxSlots));
}

void checkPropertyNames(const EntitySource& entity) {
  const Place place{&entity, {}};
  std::vector<std::string_view> names;
  appendNames(entity.attributes, names);
  appendNames(entity.relationships, names);
  for (const auto name : names) {
    checkName(place, "a property name", name);
    if (isReservedForRows(name)) fail({&entity, name}, "bears a name that SQLite gives to rows");
  }
  requireDistinct(place, "properties", std::move(names));

  std::vector<std::string_view> oldNames;
  appendOldNames(entity.attributes, oldNames);
  appendOldNames(entity.relationships, oldNames);
  for (const auto name : oldNames) checkName(place, "an old property name", name);
  requireDistinct(place, "properties once", std::move(oldNames));
}

void checkEntity(const ModelSource& model, const EntitySource& entity) {
  const Place place{&entity, {}};
  checkName(place, "a class name", entity.className);
  if (entity.attributes.size() + entity.relationships.size() > kMostProperties ||
      entity.indexes.size() > kMostProperties) {
    fail(place, "has more properties or indexes than " + std::to_string(kMostProperties));
  }
  checkPropertyNames(entity);
  checkSlotCount(entity);
  for (const auto& attribute : entity.attributes) checkAttribute(entity, attribute);
  for (const auto& relationship : entity.relationships) {
    checkRelationship(model, entity, relationship);
  }
  std::vector<std::string_view> indexNames;
  appendNames(entity.indexes, indexNames);
  requireDistinct(place, "indexes", std::move(indexNames));
  for (const auto& index : entity.indexes) checkIndex(entity, index);
}

void checkEntityNames(const ModelSource& model) {
  if (model.entities.size() > kMostEntities) {
    fail({}, "has more entities than " + std::to_string(kMostEntities));
  }
  std::vector<std::string_view> names;
  appendNames(model.entities, names);
  for (const auto name : names) checkName({}, "an entity name", name);
  requireDistinct({}, "entities", std::move(names));

  std::vector<std::string_view> oldNames;
  appendOldNames(model.entities, oldNames);
  for (const auto name : oldNames) checkName({}, "an old entity name", name);
  requireDistinct({}, "entities once", std::move(oldNames));
}

void checkConfiguration(const ModelSource& model, const ConfigurationSource& configuration) {
  checkName({}, "a configuration name", configuration.name);
  const auto failFor = [&](std::string_view name, std::string_view what) {
    fail({}, "has the configuration " + quotedName(configuration.name) + ", which names " +
                 quotedName(name) + std::string(what));
  };
  for (const auto& name : configuration.entities) {
    if (find(model.entities, name) == nullptr) failFor(name, ", but that is no entity");
  }
  const auto twin = std::ranges::adjacent_find(configuration.entities);
  if (twin != configuration.entities.end()) failFor(*twin, " twice");
}

}  // namespace

void checkModel(const ModelSource& model) {
  checkEntityNames(model);
  for (const auto& entity : model.entities) checkEntity(model, entity);
  std::vector<std::string_view> names;
  appendNames(model.configurations, names);
  requireDistinct({}, "configurations", std::move(names));
  for (const auto& configuration : model.configurations) checkConfiguration(model, configuration);
  for (const auto& identifier : model.identifiers)
    checkText({}, "a version identifier", identifier);
}

}  // namespace coredata
