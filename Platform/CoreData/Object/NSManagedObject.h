#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "CoreData/Coordinator/NSManagedObjectID.h"
#include "CoreData/Object/EntityClass.h"
#include "CoreData/Object/NSSet.h"
#include "CoreData/Object/ObjectSeed.h"
#include "CoreData/Object/ToMany.h"
#include "CoreData/Rows/Row.h"
#include "Foundation/Values/Object.h"
#include "Foundation/Values/Value.h"

namespace coredata {

class NSManagedObjectContext;
class ObjectRegistry;

/// One record of an entity, as one context sees it.
///
/// - A fault knows which object it is and nothing else; its values are read from the store when one
/// is asked for. A
///   fault whose row is gone reads as absent, 0 or empty and counts as deleted.
/// - Setting a relationship updates its inverse at once, and marks every object concerned as
/// updated.
/// - An object that outlives its context or store is harmless: it reads as absent, and writes are
/// ignored with a line
///   on the standard error stream.
///
/// Subclasses declare their properties with the macros of `ManagedObjectProperties.h` and hold no
/// state of their own.
///
/// Threading: an object belongs to its context's queue. Its last handle may be dropped on any
/// thread.
class NSManagedObject : public foundation::Object {
 public:
  /// A new object, inserted into the context unless that is null.
  NSManagedObject(const NSEntityDescription& entity, NSManagedObjectContext* insertInto);
  explicit NSManagedObject(ObjectSeed seed);

  [[nodiscard]] const NSEntityDescription& entity() const noexcept { return *entity_; }
  /// The object's identifier; null for an object that was never inserted.
  [[nodiscard]] foundation::Ref<NSManagedObjectID> objectID() const;
  /// The context that the object belongs to; null before insertion, after a saved deletion, and
  /// when the context or the store is gone.
  [[nodiscard]] foundation::Ref<NSManagedObjectContext> managedObjectContext() const;
  /// The object's identity: the same for as long as the object lives, also when its identifier
  /// changes at a save.
  [[nodiscard]] const void* id() const noexcept { return this; }

  [[nodiscard]] bool isInserted() const noexcept { return state_.inserted; }
  [[nodiscard]] bool isUpdated() const noexcept { return state_.updated; }
  [[nodiscard]] bool isDeleted() const noexcept { return state_.deleted || state_.gone; }
  [[nodiscard]] bool hasChanges() const noexcept {
    return state_.inserted || state_.updated || state_.deleted;
  }
  [[nodiscard]] bool isFault() const noexcept { return !row_; }

  /// Key-value access by the property's name; a to-one gives an object, a to-many a list of
  /// objects. Throws `foundation::Error` for a name that the entity does not have.
  [[nodiscard]] foundation::Value valueForKey(std::string_view key) const override;
  /// Sets a property by name; an absent value sets it to absent. Numbers take any number that fits
  /// the kind. Throws `foundation::Error` for an unknown name, a value of the wrong kind and a
  /// number out of range, and then changes nothing.
  void setValue(const foundation::Value& value, std::string_view forKey);
  /// The values of all stored properties that differ from the store's, by name.
  [[nodiscard]] foundation::ValueDictionary changedValues() const;

  [[nodiscard]] std::string description() const override;

 protected:
  ~NSManagedObject() override;

  // What typed accessors are made of. `slot` must be of the kind named.
  [[nodiscard]] const Row& row() const { return row_ ? *row_ : firedRow(); }
  [[nodiscard]] std::optional<foundation::Data> data(SlotIndex slot) const;
  void setInteger(SlotIndex slot, std::int64_t value);
  void setReal(SlotIndex slot, std::optional<double> value);
  void setText(SlotIndex slot, std::optional<std::string_view> value);
  void setDate(SlotIndex slot, std::optional<foundation::Date> value);
  void setData(SlotIndex slot, const std::optional<foundation::Data>& value);
  void setIdentifier(SlotIndex slot, const std::optional<foundation::UUID>& value);
  [[nodiscard]] foundation::Ref<NSManagedObject> toOne(SlotIndex slot) const;
  void setToOne(SlotIndex slot, NSManagedObject* target);
  [[nodiscard]] ObjectSet toMany(ToManyIndex index) const;
  void setToMany(ToManyIndex index, const ObjectSet& members);
  void addToMany(ToManyIndex index, NSManagedObject& member);
  void removeFromMany(ToManyIndex index, NSManagedObject& member);

 private:
  friend class ChangeList;
  friend class ContextState;
  friend class DirtyObjectReader;
  friend class NSManagedObjectContext;
  friend class ObjectRegistry;
  friend class ObjectSet;
  friend class PendingFetch;
  friend class SaveOperation;

  /// Bytes that a row gets beyond its texts when it is about to be changed: a day key and a short
  /// note fit.
  static constexpr std::size_t kRoomForChanges = 32;

  struct State {
    bool inserted : 1 = false;
    bool updated : 1 = false;
    bool deleted : 1 = false;
    /// The row was looked for and is not there.
    bool gone : 1 = false;
    /// Was never inserted into a context.
    bool unattached : 1 = false;
    /// Has left its context for good.
    bool detached : 1 = false;
    /// Is about to die, and the registry has forgotten it already.
    bool unregistered : 1 = false;
  };

  /// Whether members were added to or taken from one of its to-many relationships since the last
  /// save.
  [[nodiscard]] bool hasChangedMembers() const noexcept;
  void lastReferenceDropped() const noexcept override;

  /// The values, read from the store first. Getters cannot throw: when the store fails, a line goes
  /// to the standard error stream, absent values are given, and the next look tries again.
  const Row& firedRow() const;
  /// The private row that a change goes into, made now if there is none; null when writes are
  /// ignored.
  Row* rowForWriting();
  void markUpdated();
  [[nodiscard]] NSManagedObjectContext* context() const noexcept;
  /// Stops the process if the other object is of another context, or this one of none.
  void requireSameContext(const NSManagedObject& other) const;
  ToMany& toManyState(ToManyIndex index);
  /// Writes one side of a to-one without touching the other.
  void setReference(SlotIndex slot, ObjectKey key);
  /// Takes this object out of the inverse of one of its to-ones, which led to `target`.
  void leaveInverse(const NSRelationshipDescription& relationship, ObjectKey target);
  /// Puts this object into the inverse of one of its to-ones, which now leads to `target`.
  void enterInverse(const NSRelationshipDescription& relationship, NSManagedObject& target);
  /// Take the memory that the two above need, which do not fail after that: both sides of a
  /// relationship change or none. The objects concerned count as updated from then on.
  void prepareToLeaveInverse(const NSRelationshipDescription& relationship, ObjectKey target);
  void prepareToEnterInverse(const NSRelationshipDescription& relationship,
                             NSManagedObject& target);
  void setAttribute(const NSAttributeDescription& attribute, const foundation::Value& value);
  void setRelationship(const NSRelationshipDescription& relationship,
                       const foundation::Value& value);
  static void assign(foundation::Ref<Row>& row, const NSAttributeDescription& attribute,
                     const foundation::Value& value);
  /// A row with the model's defaults.
  [[nodiscard]] static foundation::Ref<Row> newRow(const NSEntityDescription& entity);
  /// Reads the values if this is a fault; marks the object as gone if there are none. Throws what
  /// the store throws.
  void load() const;
  /// Forgets everything; reads as absent from now on.
  void neutralise() noexcept;

  const NSEntityDescription* entity_;
  foundation::Ref<ObjectRegistry> registry_;
  /// The values as this context sees them; null while a fault. Shared with the store's cache unless
  /// `committed_` is set or the object is inserted: then it is private and may be written.
  mutable foundation::Ref<Row> row_;
  /// The values as last read or saved, while `row_` is private.
  foundation::Ref<Row> committed_;
  std::unique_ptr<ToMany[]> toMany_;
  mutable foundation::Ref<NSManagedObjectID> objectID_;
  ObjectKey key_ = kNoObject;
  /// Where the context keeps the object while it has changes.
  std::uint32_t changePosition_ = 0;
  mutable State state_;
};

}  // namespace coredata
