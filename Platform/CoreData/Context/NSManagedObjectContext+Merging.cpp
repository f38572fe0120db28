#include <new>

#include "CoreData/Context/ContextState.h"
#include "CoreData/Context/NSManagedObjectContext.h"
#include "Foundation/Values/Error.h"

namespace coredata {

using foundation::Ref;
using foundation::Value;

Ref<foundation::Object> NSManagedObjectContext::keepAlive() {
  return retainIfAlive() ? Ref<foundation::Object>::adopt(this) : nullptr;
}

bool NSManagedObjectContext::listens() const {
  return state_->mergesAutomatically && (state_->isObserved() || !state_->registry->empty());
}

void NSManagedObjectContext::otherDidSave(
    const std::shared_ptr<const SaveBroadcast>& broadcast) noexcept {
  try {
    {
      const std::scoped_lock lock(state_->inboxMutex);
      state_->inbox.push_back(broadcast);
      // Whoever finds the inbox filled knows that somebody is on the way to empty it.
      if (state_->inbox.size() > 1) return;
    }
    performBlock([this] { emptyInbox(); });
  } catch (const std::exception&) {
    // Nobody is on the way.
    const std::scoped_lock lock(state_->inboxMutex);
    state_->inbox.clear();
    missedSave();
  }
}

void NSManagedObjectContext::missedSave() noexcept { state_->hasMissedSaves = true; }

void NSManagedObjectContext::catchUp(foundation::FunctionRef<void()> work) {
  try {
    work();
  } catch (const std::bad_alloc&) {
    state_->outdateEverything();
  }
}

void NSManagedObjectContext::emptyInbox() {
  std::vector<std::shared_ptr<const SaveBroadcast>> arrived;
  {
    const std::scoped_lock lock(state_->inboxMutex);
    arrived.swap(state_->inbox);
  }
  catchUp([&] {
    for (const std::shared_ptr<const SaveBroadcast>& broadcast : arrived) merge(*broadcast);
  });
}

void NSManagedObjectContext::merge(const SaveBroadcast& broadcast) {
  // What is gone first: a relationship that was changed to lead there has then no change left that
  // would stand against what the others wrote.
  for (const SaveBroadcast::Removal& removal : broadcast.deleted) {
    state_->outdateMembers(*removal.entity);
    const Ref<NSManagedObject> object = state_->changedElsewhere(*removal.entity, removal.key);
    if (object && !object->state_.detached) state_->markGone(*object);
  }
  for (const Ref<const Row>& row : broadcast.inserted) {
    state_->outdateMembers(row->entity());
    static_cast<void>(state_->changedElsewhere(row->entity(), row->key()));
  }
  for (const Ref<const Row>& row : broadcast.updated) {
    state_->outdateMembers(row->entity());
    const Ref<NSManagedObject> object = state_->changedElsewhere(row->entity(), row->key());
    // A row may have been released from a partner before it was deleted in the same save.
    if (!object || object->isFault() || object->state_.detached || object->state_.gone) continue;
    const Row& known = object->committed_ ? *object->committed_ : *object->row_;
    if (known.version() < row->version()) {
      takeFreshRow(*object, Ref<Row>(const_cast<Row*>(row.get())));
    }
  }
}

void NSManagedObjectContext::mergeChangesFromContextDidSave(
    const foundation::NSNotification& notification) {
  assertQueue();
  state_->seeNewest();
  catchUp([&] { mergeFrom(notification); });
}

void NSManagedObjectContext::mergeFrom(const foundation::NSNotification& notification) {
  const auto forEachIdentifier = [&](std::string_view key, auto&& visit) {
    const Value* listed = notification.userInfoValue(key);
    if (listed == nullptr || listed->list() == nullptr) return;
    for (const Value& one : *listed->list()) {
      auto identifier = Ref<NSManagedObjectID>(dynamic_cast<NSManagedObjectID*>(one.object()));
      if (const auto* object = dynamic_cast<const NSManagedObject*>(one.object())) {
        identifier = object->objectID();
      }
      if (identifier && !identifier->isTemporaryID()) visit(*identifier);
    }
  };
  // Another container may have saved to the same file, but a key of another file is another object.
  const Ref<NSPersistentStore> store = state_->coordinator->store();
  const auto own = [&](const NSManagedObjectID& identifier) -> const NSEntityDescription* {
    if (!store || identifier.persistentStore()->identifier() != store->identifier()) return nullptr;
    return entity(identifier.entity().name());
  };
  forEachIdentifier(NSDeletedObjectsKey, [&](const NSManagedObjectID& identifier) {
    const NSEntityDescription* mine = own(identifier);
    if (mine == nullptr) return;
    state_->outdateMembers(*mine);
    const Ref<NSManagedObject> object = state_->changedElsewhere(*mine, identifier.key());
    if (object && !object->state_.detached) state_->markGone(*object);
  });
  for (const std::string_view key : {NSInsertedObjectsKey, NSUpdatedObjectsKey}) {
    forEachIdentifier(key, [&](const NSManagedObjectID& identifier) {
      const NSEntityDescription* mine = own(identifier);
      if (mine == nullptr) return;
      state_->outdateMembers(*mine);
      if (const Ref<NSManagedObject> object = state_->changedElsewhere(*mine, identifier.key())) {
        refreshIfPossible(*object);
      }
    });
  }
}

void NSManagedObjectContext::refreshIfPossible(NSManagedObject& object) {
  try {
    refreshFromHere(object, true);
  } catch (const foundation::Error& error) {
    // What it holds is out of date. With changes of its own it meets the other's as a conflict when
    // it is saved.
    if (!object.hasChanges()) dropChanges(object);
    ContextState::report("A change by another process could not be read: " + error.description());
  }
}

void NSManagedObjectContext::storeWillBeRemoved() {
  performBlockAndWait([&] {
    for (const Ref<NSManagedObject>& object : state_->registry->objects()) {
      if (!isTemporary(object->key_)) state_->detach(*object);
    }
    state_->dropSession();
  });
}

}  // namespace coredata
