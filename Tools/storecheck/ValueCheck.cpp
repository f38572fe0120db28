#include "Tools/storecheck/ValueCheck.h"

#include <fmt/format.h>

#include <cmath>
#include <limits>
#include <utility>

#include "Foundation/Text/Characters.h"
#include "Foundation/Values/UUID.h"

namespace storecheck {

using coredata::NSAttributeType;
using coredata::NSEntityDescription;
using coredata::Slot;
using coredata::StoredRow;
using coredata::StoredValue;
using Kind = StoredValue::Kind;

namespace {

template <typename Integer>
bool isWithin(const StoredValue& value) {
  return value.kind == Kind::integer && std::in_range<Integer>(value.integer);
}

bool isBoolean(const StoredValue& value) {
  return value.kind == Kind::integer && (value.integer == 0 || value.integer == 1);
}

bool isOfType(const StoredValue& value, NSAttributeType type) {
  switch (type) {
    case NSAttributeType::undefined:
      return false;
    case NSAttributeType::integer16:
      return isWithin<std::int16_t>(value);
    case NSAttributeType::integer32:
      return isWithin<std::int32_t>(value);
    case NSAttributeType::integer64:
      return value.kind == Kind::integer;
    case NSAttributeType::boolean:
      return isBoolean(value);
    case NSAttributeType::double_:
    case NSAttributeType::date:
      return value.kind == Kind::real;
    case NSAttributeType::string:
      return value.kind == Kind::text && foundation::isUtf8(value.content);
    case NSAttributeType::binaryData:
      return value.kind == Kind::bytes;
    case NSAttributeType::uuid:
      return value.kind == Kind::bytes && value.content.size() == sizeof(foundation::UUID::Bytes);
  }
  return false;
}

std::string_view kindOf(const Slot& slot) {
  return slot.attribute == nullptr ? "key" : name(slot.attribute->attributeType());
}

std::string described(const StoredValue& value) {
  switch (value.kind) {
    case Kind::absent:
      return "nothing";
    case Kind::integer:
      return fmt::format("the number {}", value.integer);
    case Kind::real:
      return "a number with a point";
    case Kind::text:
      return foundation::isUtf8(value.content) ? "a text" : "a text that is not UTF-8";
    case Kind::bytes:
      return fmt::format("{} bytes", value.content.size());
  }
  return {};
}

void checkSlot(const NSEntityDescription& entity, std::int64_t key, const Slot& slot,
               const StoredValue& value, Findings& findings) {
  const std::string& property = slot.property->name();
  if (value.kind == Kind::absent) {
    if (slot.property->isOptional()) return;
    return findings.error(FindingKind::absentValue, entity.name(), key,
                          fmt::format("It has no \"{}\", which it must have.", property));
  }
  if (isOfKind(value, slot)) return;
  findings.error(
      FindingKind::wrongKind, entity.name(), key,
      fmt::format("Its \"{}\" is {}, which is no {}.", property, described(value), kindOf(slot)));
}

}  // namespace

bool isOfKind(const StoredValue& value, const Slot& slot) {
  if (slot.attribute != nullptr) return isOfType(value, slot.attribute->attributeType());
  return value.kind == Kind::integer && value.integer > 0;
}

std::int64_t keyOf(StoredRow row) noexcept {
  return row[0].kind == Kind::integer ? row[0].integer : 0;
}

void checkValues(const NSEntityDescription& entity, StoredRow row, Findings& findings) {
  const std::int64_t key = keyOf(row);
  if (key < 1) findings.error(FindingKind::rowKey, entity.name(), key, "Keys begin at 1.");
  const StoredValue& version = row[1];
  if (version.kind != Kind::integer || version.integer < 1) {
    findings.error(FindingKind::rowVersion, entity.name(), key,
                   "Its version is " + described(version) + "; versions begin at 1.");
  }
  for (std::size_t i = 0; i < entity.slots().size(); ++i)
    checkSlot(entity, key, entity.slots()[i], row[kFirstSlot + i], findings);
}

}  // namespace storecheck
