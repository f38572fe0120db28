#include <algorithm>
#include <memory>
#include <new>

#include "CoreData/Context/SaveOperation.h"
#include "Foundation/Notifications/NSNotificationCenter.h"

namespace coredata {

using foundation::NSNotificationCenter;
using foundation::Ref;
using foundation::Value;
using foundation::ValueDictionary;
using foundation::ValueList;

void SaveOperation::prepareToPublish() {
  const bool isObserved = NSNotificationCenter::defaultCenter().hasObservers(
      NSManagedObjectContext::didSaveNotification());
  // Receivers may ask on any thread; what an object makes at the first question is made here. And
  // of a deleted one the notification could not say otherwise which object it was.
  if (isObserved) {
    for (const auto* objects : {&inserted_, &updated_}) {
      for (const Ref<NSManagedObject>& object : *objects) static_cast<void>(object->objectID());
    }
  }
  for (const Ref<NSManagedObject>& object : deleted_) static_cast<void>(object->objectID());
  for (const MergedRow& merged : merged_) state_.touch(*merged.object);
  if (isObserved) userInfo_ = savedByKind();
  const auto known = std::ranges::count_if(
      inserted_, [](const Ref<NSManagedObject>& object) { return object->objectID_ != nullptr; });
  identifiers_.emplace(state_.coordinator->identifiers(), static_cast<std::size_t>(known));
  state_.registry->expect(inserted_, isObserved);
}

void SaveOperation::publish() noexcept {
  state_.forgetAllChanges();
  state_.chosenKeys.clear();
  publishInserted();
  publishUpdated();
  publishDeleted();
  state_.context.catchUp([&] { publishStrangers(); });
}

void SaveOperation::publishInserted() noexcept {
  const Ref<NSPersistentStore> store = state_.coordinator->store();
  for (std::size_t i = 0; i < inserted_.size(); ++i) {
    NSManagedObject& object = *inserted_[i];
    object.state_.inserted = false;
    if (object.objectID_) identifiers_->makePermanent(*object.objectID_, store, keys_[i]);
    // Members are read anew when somebody asks: the keys that were noted are temporary.
    object.toMany_ = nullptr;
  }
  state_.registry->makePermanent(inserted_, keys_, userInfo_ != nullptr);
}

void SaveOperation::publishUpdated() noexcept {
  for (const Ref<NSManagedObject>& object : updated_) {
    object->state_.updated = false;
    object->committed_ = nullptr;
    object->toMany_ = nullptr;
  }
  for (MergedRow& merged : merged_) {
    // What the store had changed may include relationships.
    state_.outdateMembers(merged.object->entity());
    merged.object->row_ = std::move(merged.row);
  }
  for (NSManagedObject* object : written_) state_.outdateRows(object->entity());
}

void SaveOperation::publishDeleted() noexcept {
  for (const Ref<NSManagedObject>& object : deleted_) {
    state_.outdateRows(object->entity());
    for (const NSRelationshipDescription* relationship : object->entity().toManyRelationships()) {
      state_.outdateMembers(relationship->destinationEntity());
    }
    object->state_.deleted = false;
    state_.detach(*object);
  }
}

void SaveOperation::publishStrangers() {
  for (NSManagedObject* object : vanished_) {
    state_.outdateMembers(object->entity());
    state_.markGone(*object);
  }
  SaveBroadcast strangers;
  strangers.updated.assign(releasedStrangers_.begin(), releasedStrangers_.end());
  strangers.deleted = deletedStrangers_;
  state_.context.merge(strangers);
}

void SaveOperation::tellOthers() const noexcept {
  NSPersistentStoreCoordinator& coordinator = *state_.coordinator;
  if (!coordinator.hasListenersBeside(state_.context)) return;
  try {
    coordinator.tellOthers(state_.context, broadcast());
  } catch (const std::bad_alloc&) {
    coordinator.tellOthersOfMissedSave(state_.context);
  }
}

std::shared_ptr<const SaveBroadcast> SaveOperation::broadcast() const {
  auto broadcast = std::make_shared<SaveBroadcast>();
  broadcast->inserted.reserve(inserted_.size());
  for (const Ref<NSManagedObject>& object : inserted_)
    broadcast->inserted.emplace_back(object->row_);
  for (const NSManagedObject* object : written_) broadcast->updated.emplace_back(object->row_);
  for (const Ref<NSManagedObject>& object : deleted_) {
    broadcast->deleted.push_back({&object->entity(), object->key_});
  }
  broadcast->updated.insert(broadcast->updated.end(), releasedStrangers_.begin(),
                            releasedStrangers_.end());
  broadcast->deleted.insert(broadcast->deleted.end(), deletedStrangers_.begin(),
                            deletedStrangers_.end());
  return broadcast;
}

foundation::NSNotification::UserInfo SaveOperation::savedByKind() const {
  const auto listed = [](const std::vector<Ref<NSManagedObject>>& objects) {
    return Value(ValueList(objects.begin(), objects.end()));
  };
  return std::make_shared<const ValueDictionary>(
      ValueDictionary{{std::string(NSInsertedObjectsKey), listed(inserted_)},
                      {std::string(NSUpdatedObjectsKey), listed(updated_)},
                      {std::string(NSDeletedObjectsKey), listed(deleted_)}});
}

void SaveOperation::notify() const {
  if (!userInfo_) return;
  NSNotificationCenter::defaultCenter().post(NSManagedObjectContext::didSaveNotification(),
                                             Ref<foundation::Object>(&state_.context), userInfo_);
}

}  // namespace coredata
