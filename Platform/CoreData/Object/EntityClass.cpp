#include "CoreData/Object/EntityClass.h"

#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "Foundation/Values/FatalError.h"

namespace coredata {

namespace {

/// Classes by name. Filled before `main`, so it must not depend on the order in which sources are
/// initialised.
std::map<std::string_view, EntityClass*>& classesByName() {
  static auto* const classes = new std::map<std::string_view, EntityClass*>;
  return *classes;
}

std::mutex& bindingMutex() {
  static auto* const mutex = new std::mutex;
  return *mutex;
}

NSAttributeType attributeTypeOf(AccessorKind kind) noexcept {
  switch (kind) {
    case AccessorKind::integer16:
      return NSAttributeType::integer16;
    case AccessorKind::integer32:
      return NSAttributeType::integer32;
    case AccessorKind::integer64:
      return NSAttributeType::integer64;
    case AccessorKind::real:
    case AccessorKind::number:
      return NSAttributeType::double_;
    case AccessorKind::boolean:
      return NSAttributeType::boolean;
    case AccessorKind::text:
      return NSAttributeType::string;
    case AccessorKind::date:
      return NSAttributeType::date;
    case AccessorKind::data:
      return NSAttributeType::binaryData;
    case AccessorKind::identifier:
      return NSAttributeType::uuid;
    case AccessorKind::toOne:
    case AccessorKind::toMany:
      return NSAttributeType::undefined;
  }
  return NSAttributeType::undefined;
}

bool isScalar(AccessorKind kind) noexcept {
  switch (kind) {
    case AccessorKind::integer16:
    case AccessorKind::integer32:
    case AccessorKind::integer64:
    case AccessorKind::real:
    case AccessorKind::boolean:
      return true;
    case AccessorKind::text:
    case AccessorKind::date:
    case AccessorKind::data:
    case AccessorKind::identifier:
    case AccessorKind::number:
    case AccessorKind::toOne:
    case AccessorKind::toMany:
      return false;
  }
  return false;
}

bool reads(const PropertyAccessor& accessor, const NSAttributeDescription& attribute) noexcept {
  return attribute.attributeType() == attributeTypeOf(accessor.kind) &&
         attribute.usesScalarValueType() == isScalar(accessor.kind);
}

bool reads(const PropertyAccessor& accessor, const NSRelationshipDescription& relationship) {
  const AccessorKind kind = relationship.isToMany() ? AccessorKind::toMany : AccessorKind::toOne;
  return accessor.kind == kind &&
         relationship.destinationEntity().managedObjectClassName() == accessor.destination;
}

/// The number under which rows hold what the accessor reads; none where the entity has nothing of
/// that name and kind.
std::optional<std::uint16_t> indexOf(const PropertyAccessor& accessor,
                                     const NSEntityDescription& entity) {
  const NSPropertyDescription* property = entity.property(accessor.name);
  if (property == nullptr) return std::nullopt;
  if (property->slot() == kNoSlot) {
    const NSRelationshipDescription* toMany = entity.relationship(accessor.name);
    const bool isRead = toMany != nullptr && reads(accessor, *toMany);
    return isRead ? std::optional(toMany->toManyIndex()) : std::nullopt;
  }
  const Slot& slot = entity.slots()[property->slot()];
  const bool isRead = slot.attribute != nullptr ? reads(accessor, *slot.attribute)
                                                : reads(accessor, *slot.relationship);
  return isRead ? std::optional(property->slot()) : std::nullopt;
}

}  // namespace

PropertyAccessor::PropertyAccessor(EntityClass& owner, std::string_view accessorName,
                                   AccessorKind accessorKind, std::string_view destinationClass)
    : name(accessorName), destination(destinationClass), kind(accessorKind) {
  owner.accessors_.push_back(this);
}

EntityClass::EntityClass(std::string_view ownName, std::string_view entity, Factory create)
    : className_(ownName), entityName_(entity), factory_(create) {
  classesByName().emplace(ownName, this);
}

EntityClass* EntityClass::named(std::string_view className) noexcept {
  const auto found = classesByName().find(className);
  return found == classesByName().end() ? nullptr : found->second;
}

const EntityClass* EntityClass::serving(const NSEntityDescription& entity) {
  EntityClass* candidate = named(entity.managedObjectClassName());
  return candidate != nullptr && candidate->bind(entity) ? candidate : nullptr;
}

bool EntityClass::bind(const NSEntityDescription& entity) {
  const std::scoped_lock lock(bindingMutex());
  if (bound_) return layout_ == entity.versionHash();
  for (PropertyAccessor* accessor : accessors_) {
    const std::optional<std::uint16_t> index = indexOf(*accessor, entity);
    if (!index) {
      foundation::fatalError("the class " + std::string(className_) + " has an accessor \"" +
                             std::string(accessor->name) + "\" that does not fit the entity " +
                             entity.name());
    }
    accessor->index = *index;
  }
  layout_ = entity.versionHash();
  bound_ = true;
  return true;
}

}  // namespace coredata
