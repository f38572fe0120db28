#include "CoreData/Model/ModelSource.h"

#include <algorithm>
#include <cmath>

namespace coredata {
namespace {

using foundation::NSNumber;
using foundation::Value;

/// The number in the attribute's own kind if it has one there; otherwise as it is, for the checks
/// to refuse.
NSNumber inOwnKind(const NSNumber& number, NSAttributeType type) {
  if (number.kind() == NSNumber::Kind::boolean || !isNumeric(type)) return number;
  if (type == NSAttributeType::double_) return NSNumber(number.doubleValue());
  if (type == NSAttributeType::boolean) return number;
  const auto whole = number.exactInt64();
  return whole ? NSNumber(*whole) : number;
}

Value zero(NSAttributeType type) {
  return type == NSAttributeType::boolean ? Value(false) : Value(inOwnKind(NSNumber(0), type));
}

void normalizeDefault(AttributeSource& attribute) {
  if (attribute.scalar && attribute.defaultValue.isNone()) {
    attribute.defaultValue = zero(attribute.type);
  } else if (const auto* number = attribute.defaultValue.number()) {
    attribute.defaultValue = inOwnKind(*number, attribute.type);
  }
}

template <typename Named>
void sortByName(std::vector<Named>& list) {
  // A compiled model has everything in order, and sorting moves even what stands where it belongs.
  if (std::ranges::is_sorted(list, {}, &Named::name)) return;
  std::ranges::sort(list, {}, &Named::name);
}

void normalizeEntity(EntitySource& entity) {
  sortByName(entity.attributes);
  sortByName(entity.relationships);
  sortByName(entity.indexes);
  for (auto& attribute : entity.attributes) normalizeDefault(attribute);
}

}  // namespace

void ModelSource::normalize() {
  sortByName(entities);
  sortByName(configurations);
  std::ranges::sort(identifiers);
  for (auto& entity : entities) normalizeEntity(entity);
  for (auto& configuration : configurations) std::ranges::sort(configuration.entities);
}

}  // namespace coredata
