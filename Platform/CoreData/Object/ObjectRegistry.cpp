#include "CoreData/Object/ObjectRegistry.h"

#include <algorithm>

namespace coredata {

using foundation::Ref;

ObjectRegistry::ObjectRegistry(NSManagedObjectContext* context,
                               Ref<const NSManagedObjectModel> model)
    : context_(context), model_(std::move(model)), objects_(model_->entities().size()) {}

Ref<NSManagedObject> ObjectRegistry::find(const NSEntityDescription& entity, ObjectKey key) {
  const std::scoped_lock lock(mutex_);
  const auto& ofEntity = objects_[entity.index()];
  const auto found = ofEntity.find(key);
  if (found == ofEntity.end() || !found->second->retainIfAlive()) return nullptr;
  return Ref<NSManagedObject>::adopt(found->second);
}

Ref<NSManagedObject> ObjectRegistry::findOrCreate(
    const NSEntityDescription& entity, ObjectKey key,
    foundation::FunctionRef<NSManagedObject*()> create) {
  const std::scoped_lock lock(mutex_);
  NSManagedObject*& entry = objects_[entity.index()][key];
  // An object whose count reached zero is being destroyed on some thread; it is replaced, never
  // revived.
  if (entry == nullptr || !entry->retainIfAlive()) entry = create();
  return Ref<NSManagedObject>::adopt(entry);
}

void ObjectRegistry::add(NSManagedObject& object) {
  const std::scoped_lock lock(mutex_);
  objects_[object.entity().index()].insert_or_assign(object.key_, &object);
}

void ObjectRegistry::remove(const NSManagedObject& object) noexcept {
  const std::scoped_lock lock(mutex_);
  auto& ofEntity = objects_[object.entity().index()];
  const auto found = ofEntity.find(object.key_);
  if (found != ofEntity.end() && found->second == &object) ofEntity.erase(found);
}

void ObjectRegistry::rekey(NSManagedObject& object, ObjectKey key) {
  const std::scoped_lock lock(mutex_);
  auto& ofEntity = objects_[object.entity().index()];
  ofEntity.erase(object.key_);
  object.key_ = key;
  ofEntity.insert_or_assign(key, &object);
}

std::vector<Ref<NSManagedObject>> ObjectRegistry::objects() {
  std::vector<Ref<NSManagedObject>> result;
  const std::scoped_lock lock(mutex_);
  for (const auto& ofEntity : objects_) {
    for (const auto& [key, object] : ofEntity) {
      if (object->retainIfAlive()) result.push_back(Ref<NSManagedObject>::adopt(object));
    }
  }
  return result;
}

bool ObjectRegistry::empty() {
  const std::scoped_lock lock(mutex_);
  return std::ranges::all_of(objects_, [](const auto& ofEntity) { return ofEntity.empty(); });
}

}  // namespace coredata
