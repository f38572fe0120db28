#include "CoreData/Context/ContextState.h"
#include "CoreData/Context/NSManagedObjectContext.h"
#include "Foundation/Values/FatalError.h"
#include "Foundation/Values/RoomForOneMore.h"

namespace coredata {

using foundation::Ref;

void NSManagedObjectContext::delete_(NSManagedObject& object) {
  assertQueue();
  if (object.registry_ != state_->registry) {
    if (object.state_.detached || object.context() == nullptr) return;
    foundation::fatalError("a " + object.entity().name() +
                           " of another context cannot be deleted here");
  }
  if (object.isDeleted() || object.state_.detached) return;
  object.load();
  if (object.state_.gone) return;
  const Ref<NSManagedObject> keptAlive(&object);
  // All memory that it takes is taken first: an object that is deleted by half would have its
  // delete rules applied and stay.
  state_->touch(object);
  foundation::makeRoomForOneMore(state_->condemned);
  state_->deleted.makeRoom();
  forEachInverse(object, [&](const NSRelationshipDescription& relationship, ObjectKey target) {
    object.prepareToLeaveInverse(relationship, target);
  });
  state_->condemned.push_back(keptAlive);
  const bool wasInserted = object.state_.inserted;
  state_->forgetChanges(object);
  if (wasInserted) {
    object.state_.deleted = true;
  } else {
    state_->noteDeleted(object);
  }
  forEachInverse(object, [&](const NSRelationshipDescription& relationship, ObjectKey target) {
    object.leaveInverse(relationship, target);
  });
}

void NSManagedObjectContext::forEachInverse(
    const NSManagedObject& object,
    foundation::FunctionRef<void(const NSRelationshipDescription&, ObjectKey)> visit) {
  for (const SlotIndex slot : object.entity().toOneSlots()) {
    const NSRelationshipDescription& relationship = *object.entity().slots()[slot].relationship;
    const ObjectKey target = object.row().reference(slot);
    if (target != kNoObject && relationship.inverseRelationship() != nullptr) {
      visit(relationship, target);
    }
  }
}

void NSManagedObjectContext::processPendingChanges() {
  std::vector<Ref<NSManagedObject>>& condemned = state_->condemned;
  while (!condemned.empty()) {
    const std::size_t generation = condemned.size();
    // A store that cannot be read throws here. Nobody leaves the list before, so that the rules are
    // applied once it can: to apply one twice changes nothing.
    for (std::size_t i = 0; i < generation; ++i) applyDeleteRules(*condemned[i]);
    const auto end = condemned.begin() + static_cast<std::ptrdiff_t>(generation);
    const std::vector<Ref<NSManagedObject>> judged(condemned.begin(), end);
    condemned.erase(condemned.begin(), end);
    for (const Ref<NSManagedObject>& object : judged) {
      if (!isTemporary(object->key_)) continue;
      object->state_.deleted = false;
      state_->detach(*object);
    }
  }
  state_->tellObservers();
}

void NSManagedObjectContext::applyDeleteRules(NSManagedObject& object) {
  for (const SlotIndex slot : object.entity().toOneSlots()) {
    const NSRelationshipDescription& relationship = *object.entity().slots()[slot].relationship;
    if (relationship.deleteRule() != NSDeleteRule::cascade) continue;
    if (const Ref<NSManagedObject> target = object.toOne(slot)) delete_(*target);
  }
  for (const NSRelationshipDescription* relationship : object.entity().toManyRelationships()) {
    if (relationship->deleteRule() == NSDeleteRule::cascade ||
        relationship->deleteRule() == NSDeleteRule::nullify) {
      releaseMembers(object, *relationship);
    }
  }
}

void NSManagedObjectContext::releaseMembers(NSManagedObject& owner,
                                            const NSRelationshipDescription& relationship) {
  const ObjectSet members = owner.toMany(relationship.toManyIndex());
  const SlotIndex back = relationship.inverseRelationship()->slot();
  // All rows at once: a member's version is needed to delete it, and one read for each would be
  // slow.
  const std::vector<Ref<NSManagedObject>> loaded = loadedMembers(members);
  for (const Ref<NSManagedObject>& member : loaded) {
    if (relationship.deleteRule() == NSDeleteRule::cascade) {
      delete_(*member);
    } else if (!member->isDeleted() && member->row().reference(back) == owner.key_) {
      member->setReference(back, kNoObject);
    }
  }
}

std::vector<Ref<NSManagedObject>> NSManagedObjectContext::loadedMembers(const ObjectSet& members) {
  std::vector<Ref<NSManagedObject>> result;
  std::vector<ObjectKey> missing;
  result.reserve(members.count());
  for (std::size_t i = 0; i < members.count(); ++i) {
    result.push_back(members.at(i));
    if (result.back()->isFault()) missing.push_back(result.back()->key_);
  }
  if (missing.empty()) return result;
  std::vector<Ref<Row>> rows;
  state_->session().rows(result.front()->entity(), missing, rows);
  std::size_t next = 0;
  for (const Ref<NSManagedObject>& object : result) {
    if (object->isFault()) object->row_ = std::move(rows[next++]);
  }
  return result;
}

}  // namespace coredata
