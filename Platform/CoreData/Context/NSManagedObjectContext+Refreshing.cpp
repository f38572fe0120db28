#include <utility>

#include "CoreData/Context/ContextState.h"
#include "CoreData/Context/NSManagedObjectContext.h"
#include "CoreData/Context/RowMerging.h"

namespace coredata {

using foundation::Ref;

void NSManagedObjectContext::refresh(NSManagedObject& object, bool mergeChanges) {
  assertQueue();
  // Who asks for the current row means the newest, not the one that the block's first read saw.
  state_->seeNewest();
  refreshFromHere(object, mergeChanges);
}

bool NSManagedObjectContext::canRefresh(const NSManagedObject& object) const noexcept {
  return object.registry_ == state_->registry && !object.state_.detached &&
         !object.state_.inserted && !isTemporary(object.key_);
}

void NSManagedObjectContext::forgetStoredMembers(NSManagedObject& object) noexcept {
  if (!object.toMany_) return;
  for (std::size_t i = 0; i < object.entity().toManyRelationships().size(); ++i) {
    object.toMany_[i].stored = nullptr;
  }
}

void NSManagedObjectContext::refreshFromHere(NSManagedObject& object, bool mergeChanges) {
  if (!canRefresh(object)) return;
  forgetStoredMembers(object);
  if (!mergeChanges) {
    dropChanges(object);
    return;
  }
  // A fault is as fresh as can be, unless it has changes to a row that is no more.
  if (object.isFault() && !object.hasChanges()) return;
  takeFreshRow(object, state_->readRow(object.entity(), object.key_));
}

void NSManagedObjectContext::takeFreshRow(NSManagedObject& object, Ref<Row> fresh) {
  if (!fresh) {
    state_->markGone(object);
    return;
  }
  if (object.isFault()) return;
  state_->touch(object);
  object.state_.gone = false;
  if (!object.committed_) {
    const Ref<Row> before = std::exchange(object.row_, std::move(fresh));
    if (object.state_.deleted) settleMemberships(object, *before, nullptr);
  } else {
    const Ref<Row> mine =
        std::exchange(object.row_, rowWithChanges(*fresh, *object.row_, *object.committed_));
    const Ref<Row> before = std::exchange(object.committed_, std::move(fresh));
    settleMemberships(object, *before, mine.get());
  }
  settlePartners(object);
}

void NSManagedObjectContext::settleMemberships(NSManagedObject& object, const Row& before,
                                               const Row* mine) {
  const Row& fresh = object.committed_ ? *object.committed_ : *object.row_;
  for (const SlotIndex slot : object.entity().toOneSlots()) {
    const NSRelationshipDescription& relationship = *object.entity().slots()[slot].relationship;
    const NSRelationshipDescription* inverse = relationship.inverseRelationship();
    if (inverse == nullptr || !inverse->isToMany()) continue;
    if (fresh.reference(slot) == before.reference(slot)) continue;
    // A deleted object belongs nowhere here.
    const bool isDeleted = object.state_.deleted;
    const ObjectKey chosen = isDeleted ? kNoObject : mine->reference(slot);
    if (!isDeleted && chosen == before.reference(slot)) continue;
    for (const ObjectKey owner : {before.reference(slot), chosen}) {
      state_->forgetMember(*inverse, owner, object.key_);
    }
    const ObjectKey theirs = fresh.reference(slot);
    if (chosen == theirs) continue;
    const auto owner = [&](ObjectKey key) {
      return this->object(relationship.destinationEntity(), key);
    };
    if (theirs != kNoObject) {
      const Ref<NSManagedObject> other = owner(theirs);
      other->toManyState(inverse->toManyIndex()).remove(object.key_);
      other->markUpdated();
    }
    if (chosen != kNoObject) {
      const Ref<NSManagedObject> own = owner(chosen);
      own->toManyState(inverse->toManyIndex()).add(object.key_);
      own->markUpdated();
    }
  }
}

void NSManagedObjectContext::settlePartners(NSManagedObject& object) {
  // What becomes of a partner that was given to a deleted object is for the save: it may have to go
  // with it.
  if (object.state_.deleted) return;
  for (const SlotIndex slot : object.entity().toOneSlots()) {
    const NSRelationshipDescription& relationship = *object.entity().slots()[slot].relationship;
    if (!relationship.isOneToOne()) continue;
    const SlotIndex back = relationship.inverseRelationship()->slot();
    const ObjectKey theirs =
        object.committed_ ? object.committed_->reference(slot) : object.row().reference(slot);
    if (theirs == kNoObject) continue;
    if (object.row().reference(slot) != theirs) {
      // Our change stands, so the partner that somebody else gave the object must forget it.
      const Ref<NSManagedObject> partner = this->object(relationship.destinationEntity(), theirs);
      if (!partner->isDeleted() && partner->row().reference(back) == object.key_) {
        partner->setReference(back, kNoObject);
      }
    } else if (const Ref<NSManagedObject> partner =
                   state_->registry->find(relationship.destinationEntity(), theirs);
               partner && !partner->isDeleted() && partner->committed_ &&
               partner->row().reference(back) != object.key_ &&
               !partner->row().slotEquals(back, *partner->committed_)) {
      // The partner has found another one here, and that stands.
      object.setReference(slot, kNoObject);
    }
  }
}

void NSManagedObjectContext::dropChanges(NSManagedObject& object) {
  // Members that were added or removed stay so: they are changes of the members, which keep them.
  state_->touch(object);
  const bool membersChanged = object.hasChangedMembers();
  if (!membersChanged && object.state_.updated) state_->forgetChanges(object);
  object.row_ = nullptr;
  object.committed_ = nullptr;
  object.state_.gone = false;
}

void NSManagedObjectContext::refreshAllObjects() {
  assertQueue();
  state_->seeNewest();
  // What is gone first, as in a merge: the outcome must not depend on the order of the objects.
  std::vector<std::pair<Ref<NSManagedObject>, Ref<Row>>> fresh;
  for (const Ref<NSManagedObject>& object : state_->registry->objects()) {
    if (!canRefresh(*object)) continue;
    forgetStoredMembers(*object);
    if (object->isFault() && !object->hasChanges()) continue;
    Ref<Row> row = state_->readRow(object->entity(), object->key_);
    if (row) {
      fresh.emplace_back(object, std::move(row));
    } else {
      state_->markGone(*object);
    }
  }
  for (auto& [object, row] : fresh) takeFreshRow(*object, std::move(row));
}

void NSManagedObjectContext::rollback() {
  assertQueue();
  for (const ChangeList* list : {&state_->inserted, &state_->updated, &state_->deleted}) {
    list->forEach([&](NSManagedObject& object) { state_->touch(object); });
  }
  dropAllChanges();
}

void NSManagedObjectContext::dropAllChanges() noexcept {
  for (const Ref<NSManagedObject>& object : std::exchange(state_->condemned, {})) {
    if (!isTemporary(object->key_)) continue;
    object->state_.deleted = false;
    state_->detach(*object);
  }
  state_->inserted.drain([&](NSManagedObject& object) { state_->detach(object); });
  for (ChangeList* list : {&state_->updated, &state_->deleted}) {
    list->drain([&](NSManagedObject& object) {
      state_->forgetChanges(object);
      object.row_ = nullptr;
      object.committed_ = nullptr;
      object.toMany_ = nullptr;
    });
  }
}

void NSManagedObjectContext::reset() {
  assertQueue();
  const std::vector<Ref<NSManagedObject>> objects = state_->registry->objects();
  for (const Ref<NSManagedObject>& object : objects) state_->touch(*object);
  dropAllChanges();
  for (const Ref<NSManagedObject>& object : objects) {
    if (!object->state_.detached) state_->detach(*object);
  }
}

}  // namespace coredata
