#include <limits>

#include "CoreData/Context/ContextState.h"
#include "CoreData/Context/NSManagedObjectContext.h"
#include "CoreData/Fetching/FetchError.h"
#include "CoreData/Object/NSManagedObject.h"
#include "CoreData/Object/PropertyError.h"
#include "Foundation/Values/Error.h"

namespace coredata {

using foundation::Ref;
using foundation::Value;

namespace {

const NSPropertyDescription& propertyNamed(const NSEntityDescription& entity,
                                           std::string_view key) {
  if (const NSPropertyDescription* property = entity.property(key)) return *property;
  throw fetchError(
      FetchErrorCode::unknownKey,
      "The entity " + entity.name() + " has no property \"" + std::string(key) + "\".");
}

std::int64_t integerFor(const NSAttributeDescription& attribute,
                        const foundation::NSNumber& number) {
  std::int64_t limit = std::numeric_limits<std::int64_t>::max();
  if (attribute.attributeType() == NSAttributeType::integer16)
    limit = std::numeric_limits<std::int16_t>::max();
  if (attribute.attributeType() == NSAttributeType::integer32)
    limit = std::numeric_limits<std::int32_t>::max();
  if (attribute.attributeType() == NSAttributeType::boolean) return number.boolValue() ? 1 : 0;
  const std::optional<std::int64_t> whole = number.exactInt64();
  if (!whole || *whole > limit || *whole < -limit - 1) {
    throw propertyError(PropertyErrorCode::outOfRange, attribute,
                        "cannot hold " + number.stringValue());
  }
  return *whole;
}

Value attributeValue(const Row& row, const NSAttributeDescription& attribute) {
  Value value = row.value(attribute.slot());
  if (attribute.attributeType() == NSAttributeType::boolean && value.number() != nullptr) {
    return value.number()->boolValue();
  }
  return value;
}

}  // namespace

Ref<Row> NSManagedObject::newRow(const NSEntityDescription& entity) {
  Ref<Row> row = Row::make(entity, kRoomForChanges);
  for (const Slot& slot : entity.slots()) {
    if (slot.attribute == nullptr) continue;
    if (!slot.attribute->defaultValue().isNone()) {
      assign(row, *slot.attribute, slot.attribute->defaultValue());
    } else if (slot.attribute->usesScalarValueType()) {
      assign(row, *slot.attribute, Value(0));
    }
  }
  return row;
}

void NSManagedObject::assign(Ref<Row>& row, const NSAttributeDescription& attribute,
                             const Value& value) {
  const SlotIndex slot = attribute.slot();
  if (value.isNone()) return row->setNone(slot);
  switch (attribute.attributeType()) {
    case NSAttributeType::integer16:
    case NSAttributeType::integer32:
    case NSAttributeType::integer64:
    case NSAttributeType::boolean:
      if (value.number() != nullptr)
        return row->setInteger(slot, integerFor(attribute, *value.number()));
      break;
    case NSAttributeType::double_:
      if (value.number() != nullptr) return row->setReal(slot, value.number()->doubleValue());
      break;
    case NSAttributeType::string:
      if (value.text() != nullptr) return Row::setText(row, slot, *value.text());
      break;
    case NSAttributeType::date:
      if (value.date() != nullptr)
        return row->setDate(slot, value.date()->timeIntervalSinceReferenceDate());
      break;
    case NSAttributeType::binaryData:
      if (value.data() != nullptr) return Row::setBytes(row, slot, value.data()->bytes());
      break;
    case NSAttributeType::uuid:
      if (value.uuid() != nullptr) return Row::setIdentifier(row, slot, *value.uuid());
      break;
    case NSAttributeType::undefined:
      break;
  }
  throw propertyError(
      PropertyErrorCode::wrongKind, attribute,
      "is of the kind " + std::string(name(attribute.attributeType())) + " and takes no other");
}

Value NSManagedObject::valueForKey(std::string_view key) const {
  const NSPropertyDescription& property = propertyNamed(*entity_, key);
  if (const auto* attribute = dynamic_cast<const NSAttributeDescription*>(&property)) {
    return attribute->slot() == kNoSlot ? Value() : attributeValue(row(), *attribute);
  }
  const auto& relationship = static_cast<const NSRelationshipDescription&>(property);
  if (!relationship.isToMany()) return toOne(relationship.slot());
  const ObjectSet members = toMany(relationship.toManyIndex());
  foundation::ValueList list;
  list.reserve(members.count());
  for (std::size_t i = 0; i < members.count(); ++i) list.emplace_back(members.at(i));
  return list;
}

void NSManagedObject::setValue(const Value& value, std::string_view forKey) {
  const NSPropertyDescription& property = propertyNamed(*entity_, forKey);
  if (const auto* attribute = dynamic_cast<const NSAttributeDescription*>(&property)) {
    setAttribute(*attribute, value);
  } else {
    setRelationship(static_cast<const NSRelationshipDescription&>(property), value);
  }
}

void NSManagedObject::setAttribute(const NSAttributeDescription& attribute, const Value& value) {
  if (attribute.slot() == kNoSlot) {
    throw propertyError(PropertyErrorCode::wrongKind, attribute, "is computed and cannot be set");
  }
  // A refused value must leave the object as it was, not even marked as updated.
  Ref<Row> trial = Row::make(*entity_);
  assign(trial, attribute, value);
  if (rowForWriting() != nullptr) Row::setFrom(row_, attribute.slot(), *trial);
}

void NSManagedObject::setRelationship(const NSRelationshipDescription& relationship,
                                      const Value& value) {
  const auto objectIn = [&](const Value& one) -> NSManagedObject* {
    auto* object = dynamic_cast<NSManagedObject*>(one.object());
    if (object == nullptr || &object->entity() != &relationship.destinationEntity()) {
      throw propertyError(PropertyErrorCode::wrongKind, relationship,
                          "leads to objects of " + relationship.destinationEntity().name());
    }
    return object;
  };
  if (!relationship.isToMany()) {
    return setToOne(relationship.slot(), value.isNone() ? nullptr : objectIn(value));
  }
  std::vector<Ref<NSManagedObject>> members;
  if (value.list() != nullptr) {
    for (const Value& one : *value.list()) members.emplace_back(objectIn(one));
  } else if (!value.isNone()) {
    members.emplace_back(objectIn(value));
  }
  setToMany(relationship.toManyIndex(), ObjectSet(std::move(members)));
}

foundation::ValueDictionary NSManagedObject::changedValues() const {
  foundation::ValueDictionary result;
  if (!row_ || (!committed_ && !state_.inserted)) return result;
  for (const Slot& slot : entity_->slots()) {
    const SlotIndex index = slot.property->slot();
    const bool differs = committed_ ? !row_->slotEquals(index, *committed_) : !row_->isNone(index);
    if (differs) result.emplace(slot.property->name(), valueForKey(slot.property->name()));
  }
  return result;
}

}  // namespace coredata
