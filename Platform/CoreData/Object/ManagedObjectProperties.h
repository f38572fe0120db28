#pragma once

// How a class of typed objects is declared. Inside the class, one line for the entity and one for
// each property:
//
//   class CDGroup final : public coredata::NSManagedObject {
//     CD_ENTITY(CDGroup, "Group")
//     CD_TEXT(title, setTitle)
//     CD_INTEGER16(priority, setPriority)
//     CD_TO_MANY(CDActivity, activities, setActivities, addActivitiesObject,
//     removeActivitiesObject)
//    public:
//     ...
//   };
//
// The class registers itself with its accessors before `main`. A property's kind must be the
// model's: a class that does not fit its model stops the process when it is bound, before any
// object exists. Whole numbers and texts take `override` as a last word where the class adopts an
// interface that asks for them. Accessors are public. Reading one costs a slot; none of them looks
// a name up. The classes that a relationship leads to must be complete at the end of the source
// that uses it, so a header includes those of its targets, below the class where they include it
// back.

#include <optional>
#include <string>

#include "CoreData/Context/NSManagedObjectContext.h"
#include "CoreData/Fetching/NSFetchRequest.h"
#include "CoreData/Object/NSManagedObject.h"

namespace coredata::properties {

/// An object as the class that its entity is bound to. A template, so that the class need only be
/// complete where the accessor is used.
template <typename T>
[[nodiscard]] foundation::Ref<T> uncheckedCast(foundation::Ref<NSManagedObject> object) noexcept {
  return foundation::Ref<T>::adopt(static_cast<T*>(object.leak()));
}

/// The other way round, for the same reason.
template <typename T>
[[nodiscard]] NSManagedObject* objectOf(const foundation::Ref<T>& typed) noexcept {
  return typed.get();
}

}  // namespace coredata::properties

#define CD_ENTITY(Class, entityText)                                                          \
 public:                                                                                      \
  Class(const ::coredata::NSEntityDescription& entity,                                        \
        ::coredata::NSManagedObjectContext* insertInto)                                       \
      : NSManagedObject(entity, insertInto) {}                                                \
  explicit Class(::coredata::NSManagedObjectContext& context)                                 \
      : NSManagedObject(context.entity(entityClass()), &context) {}                           \
  explicit Class(::coredata::ObjectSeed seed) : NSManagedObject(std::move(seed)) {}           \
  /** A request for all objects of the entity. */                                             \
  [[nodiscard]] static ::coredata::NSFetchRequest<Class> fetchRequest() {                     \
    return ::coredata::NSFetchRequest<Class>(entityText);                                     \
  }                                                                                           \
  [[nodiscard]] static ::coredata::EntityClass& entityClass() {                               \
    static auto* const instance = new ::coredata::EntityClass(                                \
        #Class, entityText, [](::coredata::ObjectSeed seed) -> ::coredata::NSManagedObject* { \
          return new Class(std::move(seed));                                                  \
        });                                                                                   \
    return *instance;                                                                         \
  }                                                                                           \
                                                                                              \
 protected:                                                                                   \
  ~Class() override = default;                                                                \
                                                                                              \
 public:

#define CD_ACCESSOR(name, kind, ...)                                                    \
 private:                                                                               \
  inline static const ::coredata::PropertyAccessor name##Slot_{                         \
      entityClass(), #name, ::coredata::AccessorKind::kind __VA_OPT__(, ) __VA_ARGS__}; \
                                                                                        \
 public:

#define CD_INTEGER(Type, kind, name, setter, ...)                                \
  CD_ACCESSOR(name, kind)                                                        \
  [[nodiscard]] Type name() const __VA_ARGS__ {                                  \
    return static_cast<Type>(NSManagedObject::row().integer(name##Slot_.index)); \
  }                                                                              \
  void setter(Type value) { NSManagedObject::setInteger(name##Slot_.index, value); }

/// Whole numbers that read 0 when nothing is stored.
#define CD_INTEGER16(name, setter, ...) \
  CD_INTEGER(std::int16_t, integer16, name, setter, __VA_ARGS__)
#define CD_INTEGER32(name, setter, ...) \
  CD_INTEGER(std::int32_t, integer32, name, setter, __VA_ARGS__)
#define CD_INTEGER64(name, setter, ...) \
  CD_INTEGER(std::int64_t, integer64, name, setter, __VA_ARGS__)

#define CD_BOOLEAN(name, setter)                                   \
  CD_ACCESSOR(name, boolean)                                       \
  [[nodiscard]] bool name() const {                                \
    return NSManagedObject::row().integer(name##Slot_.index) != 0; \
  }                                                                \
  void setter(bool value) { NSManagedObject::setInteger(name##Slot_.index, value ? 1 : 0); }

/// A double that reads 0 when nothing is stored; not-a-number cannot be stored and reads 0 again.
#define CD_DOUBLE(name, setter)                                                                \
  CD_ACCESSOR(name, real)                                                                      \
  [[nodiscard]] double name() const { return NSManagedObject::row().real(name##Slot_.index); } \
  void setter(double value) { NSManagedObject::setReal(name##Slot_.index, value); }

#define CD_OPTIONAL(Type, kind, name, setter, read, write, ...) \
  CD_ACCESSOR(name, kind)                                       \
  [[nodiscard]] std::optional<Type> name() const __VA_ARGS__ {  \
    const ::coredata::Row& values = NSManagedObject::row();     \
    if (values.isNone(name##Slot_.index)) return std::nullopt;  \
    return read;                                                \
  }                                                             \
  void setter(const std::optional<Type>& value) { write; }

#define CD_TEXT(name, setter, ...)                                                          \
  CD_OPTIONAL(std::string, text, name, setter, std::string(values.text(name##Slot_.index)), \
              NSManagedObject::setText(name##Slot_.index, value), __VA_ARGS__)
#define CD_DATE(name, setter)                                                    \
  CD_OPTIONAL(::foundation::Date, date, name, setter,                            \
              ::foundation::Date::fromReference(values.real(name##Slot_.index)), \
              NSManagedObject::setDate(name##Slot_.index, value))
#define CD_DATA(name, setter)                                    \
  CD_ACCESSOR(name, data)                                        \
  [[nodiscard]] std::optional<::foundation::Data> name() const { \
    return NSManagedObject::data(name##Slot_.index);             \
  }                                                              \
  void setter(const std::optional<::foundation::Data>& value) {  \
    NSManagedObject::setData(name##Slot_.index, value);          \
  }
#define CD_UUID(name, setter)                                                                     \
  CD_OPTIONAL(::foundation::UUID, identifier, name, setter, values.identifier(name##Slot_.index), \
              NSManagedObject::setIdentifier(name##Slot_.index, value))
/// A boxed number: absent and 0 differ.
#define CD_NUMBER(name, setter)                                       \
  CD_OPTIONAL(::foundation::NSNumber, number, name, setter,           \
              ::foundation::NSNumber(values.real(name##Slot_.index)), \
              NSManagedObject::setReal(                               \
                  name##Slot_.index, value ? std::optional(value->doubleValue()) : std::nullopt))

/// A relationship to one object of an entity class; null is none.
#define CD_TO_ONE(Target, name, setter)                                                    \
  CD_ACCESSOR(name, toOne, #Target)                                                        \
  [[nodiscard]] ::foundation::Ref<Target> name() const {                                   \
    return ::coredata::properties::uncheckedCast<Target>(                                  \
        NSManagedObject::toOne(name##Slot_.index));                                        \
  }                                                                                        \
  void setter(const ::foundation::Ref<Target>& value) {                                    \
    NSManagedObject::setToOne(name##Slot_.index, ::coredata::properties::objectOf(value)); \
  }

/// A relationship to a set of objects of an entity class. Adding and removing never loads the set.
#define CD_TO_MANY(Target, name, setter, adder, remover)                                          \
  CD_ACCESSOR(name, toMany, #Target)                                                              \
  [[nodiscard]] ::coredata::NSSet<Target> name() const {                                          \
    return ::coredata::NSSet<Target>(NSManagedObject::toMany(name##Slot_.index));                 \
  }                                                                                               \
  void setter(const ::coredata::NSSet<Target>& value) {                                           \
    NSManagedObject::setToMany(name##Slot_.index, value.objects());                               \
  }                                                                                               \
  void adder(const ::foundation::Ref<Target>& value) {                                            \
    NSManagedObject::addToMany(name##Slot_.index, *::coredata::properties::objectOf(value));      \
  }                                                                                               \
  void remover(const ::foundation::Ref<Target>& value) {                                          \
    NSManagedObject::removeFromMany(name##Slot_.index, *::coredata::properties::objectOf(value)); \
  }
