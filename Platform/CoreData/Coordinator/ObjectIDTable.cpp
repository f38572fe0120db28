#include "CoreData/Coordinator/ObjectIDTable.h"

namespace coredata {

using foundation::Ref;

Ref<NSManagedObjectID> ObjectIDTable::identifier(const Ref<NSPersistentStore>& store,
                                                 const NSEntityDescription& entity, ObjectKey key) {
  const Place place{store ? store->serial() : 0, &entity, key};
  const std::scoped_lock lock(mutex_);
  NSManagedObjectID*& entry = identifiers_[place];
  // An identifier whose count reached zero is on its way out and cannot be revived; it is replaced.
  if (entry != nullptr && entry->retainIfAlive()) return Ref<NSManagedObjectID>::adopt(entry);
  entry = new NSManagedObjectID(Ref<ObjectIDTable>(this), store, entity, key);
  return Ref<NSManagedObjectID>::adopt(entry);
}

void ObjectIDTable::makePermanent(NSManagedObjectID& identifier,
                                  const Ref<NSPersistentStore>& store, ObjectKey key) {
  const std::scoped_lock lock(mutex_);
  identifiers_.erase(placeOf(identifier));
  identifier.store_ = store;
  identifier.key_.store(key, std::memory_order_release);
  identifiers_.insert_or_assign(placeOf(identifier), &identifier);
}

ObjectIDTable::Place ObjectIDTable::placeOf(const NSManagedObjectID& identifier) noexcept {
  return {identifier.store_ ? identifier.store_->serial() : 0, identifier.entity_,
          identifier.key()};
}

void ObjectIDTable::remove(const NSManagedObjectID& identifier) noexcept {
  const std::scoped_lock lock(mutex_);
  const auto found = identifiers_.find(placeOf(identifier));
  if (found != identifiers_.end() && found->second == &identifier) identifiers_.erase(found);
}

}  // namespace coredata
