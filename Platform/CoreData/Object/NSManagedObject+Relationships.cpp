#include <algorithm>

#include "CoreData/Context/ContextState.h"
#include "CoreData/Context/NSManagedObjectContext.h"
#include "CoreData/Object/NSManagedObject.h"
#include "CoreData/Object/ObjectRegistry.h"
#include "Foundation/Internal/HashTables.h"
#include "Foundation/Values/FatalError.h"

namespace coredata {

using foundation::Ref;

namespace {

const NSRelationshipDescription& toManyOf(const NSEntityDescription& entity, ToManyIndex index) {
  return *entity.toManyRelationships()[index];
}

}  // namespace

void NSManagedObject::requireSameContext(const NSManagedObject& other) const {
  if (registry_ == other.registry_ && !state_.unattached) return;
  foundation::fatalError("a " + entity_->name() + " and a " + other.entity_->name() +
                         " of different contexts cannot be related");
}

Ref<NSManagedObject> NSManagedObject::toOne(SlotIndex slot) const {
  const ObjectKey key = row().reference(slot);
  NSManagedObjectContext* owner = context();
  if (key == kNoObject || owner == nullptr) return nullptr;
  return owner->object(entity_->slots()[slot].relationship->destinationEntity(), key);
}

void NSManagedObject::setReference(SlotIndex slot, ObjectKey key) {
  if (Row* written = rowForWriting()) written->setReference(slot, key);
}

void NSManagedObject::setToOne(SlotIndex slot, NSManagedObject* target) {
  if (target != nullptr) requireSameContext(*target);
  if (rowForWriting() == nullptr) return;
  // Not before: a look at a row that cannot be read shows an object without relationships.
  const ObjectKey before = row_->reference(slot);
  const ObjectKey after = target == nullptr ? kNoObject : target->key_;
  if (before == after) return;
  const NSRelationshipDescription& relationship = *entity_->slots()[slot].relationship;
  if (relationship.inverseRelationship() == nullptr) return row_->setReference(slot, after);
  if (before != kNoObject) prepareToLeaveInverse(relationship, before);
  if (target != nullptr) prepareToEnterInverse(relationship, *target);
  row_->setReference(slot, after);
  if (before != kNoObject) leaveInverse(relationship, before);
  if (target != nullptr) enterInverse(relationship, *target);
}

void NSManagedObject::leaveInverse(const NSRelationshipDescription& relationship,
                                   ObjectKey target) {
  const NSRelationshipDescription& inverse = *relationship.inverseRelationship();
  const Ref<NSManagedObject> other = context()->object(relationship.destinationEntity(), target);
  // An object that waits to be deleted keeps its relationships: its delete rules still need them.
  if (other->state_.deleted) return;
  if (inverse.isToMany()) {
    other->toManyState(inverse.toManyIndex()).remove(key_);
    other->markUpdated();
  } else if (other->row().reference(inverse.slot()) == key_) {
    other->setReference(inverse.slot(), kNoObject);
  }
}

void NSManagedObject::prepareToLeaveInverse(const NSRelationshipDescription& relationship,
                                            ObjectKey target) {
  const NSRelationshipDescription& inverse = *relationship.inverseRelationship();
  const Ref<NSManagedObject> other = context()->object(relationship.destinationEntity(), target);
  if (other->state_.deleted) return;
  if (inverse.isToMany()) {
    other->toManyState(inverse.toManyIndex()).makeRoomToRemove();
    other->markUpdated();
    return;
  }
  other->load();
  if (other->row_->reference(inverse.slot()) == key_) static_cast<void>(other->rowForWriting());
}

void NSManagedObject::prepareToEnterInverse(const NSRelationshipDescription& relationship,
                                            NSManagedObject& target) {
  const NSRelationshipDescription& inverse = *relationship.inverseRelationship();
  if (inverse.isToMany()) {
    target.toManyState(inverse.toManyIndex()).makeRoomToAdd();
    target.markUpdated();
    return;
  }
  target.load();
  const ObjectKey displaced = target.row_->reference(inverse.slot());
  if (displaced == key_) return;
  if (displaced != kNoObject) {
    static_cast<void>(context()->object(*entity_, displaced)->rowForWriting());
  }
  static_cast<void>(target.rowForWriting());
}

void NSManagedObject::enterInverse(const NSRelationshipDescription& relationship,
                                   NSManagedObject& target) {
  const NSRelationshipDescription& inverse = *relationship.inverseRelationship();
  if (inverse.isToMany()) {
    target.toManyState(inverse.toManyIndex()).add(key_);
    target.markUpdated();
    return;
  }
  const ObjectKey displaced = target.row().reference(inverse.slot());
  if (displaced == key_) return;
  if (displaced != kNoObject) {
    context()->object(*entity_, displaced)->setReference(relationship.slot(), kNoObject);
  }
  target.setReference(inverse.slot(), key_);
}

ToMany& NSManagedObject::toManyState(ToManyIndex index) {
  if (!toMany_) toMany_ = std::make_unique<ToMany[]>(entity_->toManyRelationships().size());
  return toMany_[index];
}

bool NSManagedObject::hasChangedMembers() const noexcept {
  if (!toMany_) return false;
  const std::size_t count = entity_->toManyRelationships().size();
  return std::any_of(toMany_.get(), toMany_.get() + count,
                     [](const ToMany& members) { return members.hasChanges(); });
}

ObjectSet NSManagedObject::toMany(ToManyIndex index) const {
  NSManagedObjectContext* owner = context();
  if (owner == nullptr || state_.detached || state_.gone) return {};
  owner->assertQueue();
  const NSRelationshipDescription& relationship = toManyOf(*entity_, index);
  // Reading fills the members in, which changes nothing that can be seen.
  ToMany& state = const_cast<NSManagedObject*>(this)->toManyState(index);
  owner->state_->readMembers(relationship, key_, state);
  if (!state.hasChanges()) {
    return ObjectSet(registry_, relationship.destinationEntity(), state.stored, {});
  }
  return owner->state_->membersWithChanges(registry_, relationship.destinationEntity(), state);
}

void NSManagedObject::addToMany(ToManyIndex index, NSManagedObject& member) {
  requireSameContext(member);
  member.setToOne(toManyOf(*entity_, index).inverseRelationship()->slot(), this);
  markUpdated();
}

void NSManagedObject::removeFromMany(ToManyIndex index, NSManagedObject& member) {
  requireSameContext(member);
  const SlotIndex slot = toManyOf(*entity_, index).inverseRelationship()->slot();
  member.load();
  if (member.row_->reference(slot) == key_) member.setToOne(slot, nullptr);
  markUpdated();
}

void NSManagedObject::setToMany(ToManyIndex index, const ObjectSet& members) {
  std::vector<Ref<NSManagedObject>> wanted;
  foundation::HashSet<const NSManagedObject*> known;
  for (std::size_t i = 0; i < members.count(); ++i) {
    wanted.push_back(members.at(i));
    known.insert(wanted.back().get());
  }
  const ObjectSet before = toMany(index);
  for (std::size_t i = 0; i < before.count(); ++i) {
    const Ref<NSManagedObject> member = before.at(i);
    if (member && !known.contains(member.get())) removeFromMany(index, *member);
  }
  for (const Ref<NSManagedObject>& member : wanted) {
    if (member) addToMany(index, *member);
  }
}

}  // namespace coredata
