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

void NSManagedObjectContext::refreshFromHere(NSManagedObject& object, bool mergeChanges) {
  if (object.registry_ != state_->registry || object.state_.detached || object.state_.inserted ||
      isTemporary(object.key_)) {
    return;
  }
  if (object.toMany_) {
    for (std::size_t i = 0; i < object.entity().toManyRelationships().size(); ++i) {
      object.toMany_[i].stored = nullptr;
    }
  }
  if (!mergeChanges) {
    dropChanges(object);
    return;
  }
  // A fault is as fresh as can be.
  if (object.isFault()) return;
  takeFreshRow(object, state_->readRow(object.entity(), object.key_));
}

void NSManagedObjectContext::takeFreshRow(NSManagedObject& object, Ref<Row> fresh) {
  if (!fresh) {
    state_->markGone(object);
    return;
  }
  object.state_.gone = false;
  if (!object.committed_) {
    object.row_ = std::move(fresh);
    settlePartners(object);
    return;
  }
  object.row_ = rowWithChanges(*fresh, *object.row_, *object.committed_);
  object.committed_ = std::move(fresh);
  settlePartners(object);
}

void NSManagedObjectContext::settlePartners(NSManagedObject& object) {
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
               partner && partner->committed_ && partner->row().reference(back) != object.key_ &&
               !partner->row().slotEquals(back, *partner->committed_)) {
      // The partner has found another one here, and that stands.
      object.setReference(slot, kNoObject);
    }
  }
}

void NSManagedObjectContext::dropChanges(NSManagedObject& object) {
  // Members that were added or removed stay so: they are changes of the members, which keep them.
  const bool membersChanged = object.hasChangedMembers();
  if (!membersChanged && object.state_.updated) state_->forgetChanges(object);
  object.row_ = nullptr;
  object.committed_ = nullptr;
  object.state_.gone = false;
}

void NSManagedObjectContext::refreshAllObjects() {
  assertQueue();
  state_->seeNewest();
  for (const Ref<NSManagedObject>& object : state_->registry->objects())
    refreshFromHere(*object, true);
}

void NSManagedObjectContext::rollback() {
  assertQueue();
  for (const Ref<NSManagedObject>& object : std::exchange(state_->condemned, {})) {
    if (!isTemporary(object->key_)) continue;
    object->state_.deleted = false;
    state_->detach(*object);
  }
  for (const Ref<NSManagedObject>& object : state_->inserted.objects()) state_->detach(*object);
  for (const ChangeList* list : {&state_->updated, &state_->deleted}) {
    for (const Ref<NSManagedObject>& object : list->objects()) {
      state_->forgetChanges(*object);
      object->row_ = nullptr;
      object->committed_ = nullptr;
      object->toMany_ = nullptr;
    }
  }
}

void NSManagedObjectContext::reset() {
  rollback();
  for (const Ref<NSManagedObject>& object : state_->registry->objects()) state_->detach(*object);
}

}  // namespace coredata
