#include <memory>

#include "CoreData/Context/SaveOperation.h"
#include "CoreData/Coordinator/ObjectIDTable.h"
#include "Foundation/Notifications/NSNotificationCenter.h"

namespace coredata {

using foundation::NSNotificationCenter;
using foundation::Ref;
using foundation::Value;
using foundation::ValueDictionary;
using foundation::ValueList;

void SaveOperation::publish() {
  isObserved_ = NSNotificationCenter::defaultCenter().hasObservers(
      NSManagedObjectContext::didSaveNotification());
  state_.forgetAllChanges();
  state_.chosenKeys.clear();
  publishInserted();
  publishUpdated();
  publishDeleted();
  publishStrangers();
}

void SaveOperation::publishInserted() {
  const Ref<NSPersistentStore> store = state_.coordinator->store();
  for (std::size_t i = 0; i < inserted_.size(); ++i) {
    NSManagedObject& object = *inserted_[i];
    object.state_.inserted = false;
    if (object.objectID_) {
      state_.coordinator->identifiers().makePermanent(*object.objectID_, store, keys_[i]);
    }
    // Members are read anew when somebody asks: the keys that were noted are temporary.
    object.toMany_ = nullptr;
  }
  state_.registry->makePermanent(inserted_, keys_, isObserved_);
}

void SaveOperation::publishUpdated() {
  for (const Ref<NSManagedObject>& object : updated_) {
    object->state_.updated = false;
    object->committed_ = nullptr;
    object->toMany_ = nullptr;
  }
  for (MergedRow& merged : merged_) {
    // What the store had changed may include relationships.
    state_.outdateMembers(merged.object->entity());
    state_.touch(*merged.object);
    merged.object->row_ = std::move(merged.row);
  }
  for (NSManagedObject* object : written_) state_.outdateRows(object->entity());
  for (NSManagedObject* object : vanished_) {
    state_.outdateMembers(object->entity());
    state_.markGone(*object);
  }
}

void SaveOperation::publishDeleted() {
  for (const Ref<NSManagedObject>& object : deleted_) {
    state_.outdateRows(object->entity());
    for (const NSRelationshipDescription* relationship : object->entity().toManyRelationships()) {
      state_.outdateMembers(relationship->destinationEntity());
    }
    // Made now, or the notification could not say which object it was.
    (void)object->objectID();
    object->state_.deleted = false;
    state_.detach(*object);
  }
}

void SaveOperation::publishStrangers() {
  SaveBroadcast strangers;
  strangers.updated.assign(releasedStrangers_.begin(), releasedStrangers_.end());
  strangers.deleted = deletedStrangers_;
  state_.context.merge(strangers);
}

void SaveOperation::tellOthers() const {
  if (!state_.coordinator->hasListenersBeside(state_.context)) return;
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
  state_.coordinator->tellOthers(state_.context, broadcast);
}

void SaveOperation::notify() const {
  if (!isObserved_) return;
  // Receivers may ask on any thread; what an object makes at the first question is made here.
  for (const auto* objects : {&inserted_, &updated_}) {
    for (const Ref<NSManagedObject>& object : *objects) static_cast<void>(object->objectID());
  }
  const auto listed = [](const std::vector<Ref<NSManagedObject>>& objects) {
    return Value(ValueList(objects.begin(), objects.end()));
  };
  auto userInfo = std::make_shared<const ValueDictionary>(
      ValueDictionary{{std::string(NSInsertedObjectsKey), listed(inserted_)},
                      {std::string(NSUpdatedObjectsKey), listed(updated_)},
                      {std::string(NSDeletedObjectsKey), listed(deleted_)}});
  NSNotificationCenter::defaultCenter().post(NSManagedObjectContext::didSaveNotification(),
                                             Ref<foundation::Object>(&state_.context),
                                             std::move(userInfo));
}

}  // namespace coredata
