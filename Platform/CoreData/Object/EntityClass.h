#pragma once

#include <string_view>
#include <vector>

#include "CoreData/Model/NSEntityDescription.h"
#include "CoreData/Object/ObjectSeed.h"

namespace coredata {

class NSManagedObject;

/// What a typed accessor reads and writes. A model whose property is of another kind does not fit
/// the class.
enum class AccessorKind : std::uint8_t {
  integer16,
  integer32,
  integer64,
  real,
  boolean,
  text,
  date,
  data,
  identifier,
  number,
  toOne,
  toMany,
};

/// One typed accessor of an entity class: the property's name, and the number under which rows hold
/// it, filled in when the class is bound to its model.
struct PropertyAccessor {
  /// Registers the accessor with its class. `destination` is the class name of a relationship's
  /// objects.
  PropertyAccessor(class EntityClass& owner, std::string_view name, AccessorKind kind,
                   std::string_view destination = {});
  PropertyAccessor(const PropertyAccessor&) = delete;
  PropertyAccessor& operator=(const PropertyAccessor&) = delete;

  std::string_view name;
  std::string_view destination;
  AccessorKind kind;
  /// The slot, or for a to-many relationship its number among the to-many ones.
  std::uint16_t index = kNoSlot;
};

/// A class of typed objects and the entity it stands for. Classes register themselves before
/// `main`; binding one to an entity resolves its accessors to slots, once in a process.
///
/// A class belongs to one layout: an entity of the same class name that stores otherwise (another
/// version of the model) gets plain objects with key-value access instead.
///
/// Threading: binding is safe on any thread; accessors may be used as soon as an object of the
/// class exists.
class EntityClass {
 public:
  using Factory = NSManagedObject* (*)(ObjectSeed seed);

  EntityClass(std::string_view ownName, std::string_view entity, Factory create);
  EntityClass(const EntityClass&) = delete;
  EntityClass& operator=(const EntityClass&) = delete;

  /// The registered class of that name, or null.
  [[nodiscard]] static EntityClass* named(std::string_view className) noexcept;
  /// The class that serves the entity, bound to it; null when plain objects must.
  [[nodiscard]] static const EntityClass* serving(const NSEntityDescription& entity);

  [[nodiscard]] std::string_view className() const noexcept { return className_; }
  [[nodiscard]] std::string_view entityName() const noexcept { return entityName_; }
  [[nodiscard]] Factory factory() const noexcept { return factory_; }
  [[nodiscard]] const std::vector<PropertyAccessor*>& accessors() const noexcept {
    return accessors_;
  }

 private:
  friend struct PropertyAccessor;
  bool bind(const NSEntityDescription& entity);

  std::string_view className_;
  std::string_view entityName_;
  Factory factory_;
  std::vector<PropertyAccessor*> accessors_;
  bool bound_ = false;
  VersionHash layout_{};
};

}  // namespace coredata
