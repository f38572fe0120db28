#include "CoreData/Object/NSManagedObject.h"

#include "CoreData/Context/ContextState.h"
#include "CoreData/Context/NSManagedObjectContext.h"
#include "CoreData/Object/ObjectRegistry.h"
#include "Foundation/Values/Error.h"

namespace coredata {

using foundation::make;
using foundation::Ref;

NSManagedObject::NSManagedObject(const NSEntityDescription& entity,
                                 NSManagedObjectContext* insertInto)
    : entity_(&entity) {
  if (insertInto != nullptr) {
    insertInto->insert(*this);
    return;
  }
  // Binds the class to the entity, or its accessors would know no slots.
  (void)EntityClass::serving(entity);
  registry_ =
      make<ObjectRegistry>(nullptr, Ref<const NSManagedObjectModel>(&entity.managedObjectModel()));
  row_ = newRow(entity);
  state_.unattached = true;
}

NSManagedObject::NSManagedObject(ObjectSeed seed)
    : entity_(&seed.entity), registry_(&seed.registry), row_(std::move(seed.row)), key_(seed.key) {}

NSManagedObject::~NSManagedObject() {
  // A context holds what is inserted. An object that dies all the same never came to life: the
  // constructor of its class threw.
  if (state_.inserted) context()->state_->abandon(*this);
}

void NSManagedObject::lastReferenceDropped() const noexcept {
  if (!state_.unregistered) registry_->remove(*this);
  delete this;
}

NSManagedObjectContext* NSManagedObject::context() const noexcept { return registry_->context(); }

Ref<NSManagedObjectContext> NSManagedObject::managedObjectContext() const {
  if (state_.detached) return nullptr;
  return Ref<NSManagedObjectContext>(context());
}

Ref<NSManagedObjectID> NSManagedObject::objectID() const {
  if (objectID_ || state_.unattached) return objectID_;
  const NSManagedObjectContext* owner = context();
  if (owner == nullptr || state_.detached) return nullptr;
  objectID_ = owner->state_->identifier(*entity_, key_);
  return objectID_;
}

void NSManagedObject::load() const {
  if (row_) return;
  NSManagedObjectContext* owner = context();
  if (owner != nullptr && !state_.detached) {
    owner->assertQueue();
    row_ = owner->state_->readRow(*entity_, key_);
    state_.gone = !row_;
  }
  if (!row_) row_ = Row::make(*entity_);
}

const Row& NSManagedObject::firedRow() const {
  try {
    load();
    return *row_;
  } catch (const foundation::Error& error) {
    ContextState::report("cannot read a " + entity_->name() + ": " + error.description());
    return context()->state_->emptyRow(*entity_);
  }
}

Row* NSManagedObject::rowForWriting() {
  if (state_.unattached) return row_.get();
  NSManagedObjectContext* owner = context();
  if (owner != nullptr && !state_.detached) {
    owner->assertQueue();
    owner->state_->touch(*this);
    if (state_.inserted || committed_) return row_.get();
    load();
  }
  if (owner == nullptr || state_.detached || state_.gone) {
    ContextState::report("a change to a " + entity_->name() + " that is gone is ignored");
    return nullptr;
  }
  Ref<Row> changed = row_->copy(kRoomForChanges);
  markUpdated();
  committed_ = std::move(row_);
  row_ = std::move(changed);
  return row_.get();
}

void NSManagedObject::markUpdated() {
  if (state_.unattached || state_.detached || state_.gone) return;
  NSManagedObjectContext* owner = context();
  if (owner == nullptr) return;
  owner->state_->touch(*this);
  if (!hasChanges()) owner->state_->noteUpdated(*this);
}

void NSManagedObject::neutralise() noexcept {
  state_ = State{};
  state_.detached = true;
  row_ = nullptr;
  committed_ = nullptr;
  toMany_ = nullptr;
}

std::optional<foundation::Data> NSManagedObject::data(SlotIndex slot) const {
  const Row& values = row();
  if (values.isNone(slot)) return std::nullopt;
  // A row that may still be written must not be shared.
  const bool isPrivate = state_.unattached || state_.inserted || committed_;
  return isPrivate ? foundation::Data(values.bytes(slot)) : Row::sharedBytes(row_, slot);
}

void NSManagedObject::setInteger(SlotIndex slot, std::int64_t value) {
  if (Row* written = rowForWriting()) written->setInteger(slot, value);
}

void NSManagedObject::setReal(SlotIndex slot, std::optional<double> value) {
  Row* written = rowForWriting();
  if (written == nullptr) return;
  if (value) {
    written->setReal(slot, *value);
  } else {
    written->setNone(slot);
  }
}

void NSManagedObject::setDate(SlotIndex slot, std::optional<foundation::Date> value) {
  Row* written = rowForWriting();
  if (written == nullptr) return;
  if (value) {
    written->setDate(slot, value->timeIntervalSinceReferenceDate());
  } else {
    written->setNone(slot);
  }
}

void NSManagedObject::setText(SlotIndex slot, std::optional<std::string_view> value) {
  Row* written = rowForWriting();
  if (written == nullptr) return;
  if (value) {
    Row::setText(row_, slot, *value);
  } else {
    written->setNone(slot);
  }
}

void NSManagedObject::setData(SlotIndex slot, const std::optional<foundation::Data>& value) {
  Row* written = rowForWriting();
  if (written == nullptr) return;
  if (value) {
    Row::setBytes(row_, slot, value->bytes());
  } else {
    written->setNone(slot);
  }
}

void NSManagedObject::setIdentifier(SlotIndex slot, const std::optional<foundation::UUID>& value) {
  Row* written = rowForWriting();
  if (written == nullptr) return;
  if (value) {
    Row::setIdentifier(row_, slot, *value);
  } else {
    written->setNone(slot);
  }
}

std::string NSManagedObject::description() const {
  const Ref<NSManagedObjectID> identifier = objectID();
  return "<" + entity_->name() + " " +
         (identifier ? identifier->description() : "not in a context") +
         (isFault() ? ", a fault>" : ">");
}

}  // namespace coredata
