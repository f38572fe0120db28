#include "CoreData/Coordinator/ObjectIDTable.h"

#include <cassert>

namespace coredata {

using foundation::Ref;

Ref<NSManagedObjectID> ObjectIDTable::identifier(const Ref<NSPersistentStore>& store,
                                                 const NSEntityDescription& entity, ObjectKey key) {
  const Place place{store ? store->serial() : 0, &entity, key};
  const std::scoped_lock lock(mutex_);
  makeRoomFor(1);
  NSManagedObjectID*& entry = identifiers_[place];
  // An identifier whose count reached zero is on its way out and cannot be revived; it is replaced.
  if (entry != nullptr && entry->retainIfAlive()) return Ref<NSManagedObjectID>::adopt(entry);
  try {
    entry = new NSManagedObjectID(Ref<ObjectIDTable>(this), store, entity, key);
  } catch (...) {
    identifiers_.erase(place);
    throw;
  }
  return Ref<NSManagedObjectID>::adopt(entry);
}

void ObjectIDTable::makeRoomFor(std::size_t more) { identifiers_.makeRoomFor(promised_ + more); }

ObjectIDTable::Room::Room(ObjectIDTable& table, std::size_t count) : table_(table), left_(count) {
  const std::scoped_lock lock(table.mutex_);
  table.makeRoomFor(count);
  table.promised_ += count;
}

ObjectIDTable::Room::~Room() {
  const std::scoped_lock lock(table_.mutex_);
  table_.promised_ -= left_;
}

void ObjectIDTable::Room::makePermanent(NSManagedObjectID& identifier,
                                        const Ref<NSPersistentStore>& store,
                                        ObjectKey key) noexcept {
  assert(left_ != 0);
  table_.makePermanent(identifier, store, key);
  --left_;
}

void ObjectIDTable::makePermanent(NSManagedObjectID& identifier,
                                  const Ref<NSPersistentStore>& store, ObjectKey key) noexcept {
  const std::scoped_lock lock(mutex_);
  identifiers_.erase(placeOf(identifier));
  identifier.store_ = store;
  identifier.key_.store(key, std::memory_order_release);
  identifiers_.insert_or_assign(placeOf(identifier), &identifier);
  --promised_;
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
