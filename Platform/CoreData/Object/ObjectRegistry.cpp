#include "CoreData/Object/ObjectRegistry.h"

#include <algorithm>

namespace coredata {

using foundation::Ref;

ObjectRegistry::ObjectRegistry(NSManagedObjectContext* context,
                               Ref<const NSManagedObjectModel> model)
    : context_(context), model_(std::move(model)), saved_(model_->entities().size()) {}

Ref<NSManagedObject> ObjectRegistry::find(const NSEntityDescription& entity, ObjectKey key) {
  const std::scoped_lock lock(mutex_);
  const Objects& known = objects(entity, key);
  const auto found = known.find(key);
  if (found == known.end() || !found->second->retainIfAlive()) return nullptr;
  return Ref<NSManagedObject>::adopt(found->second);
}

Ref<NSManagedObject> ObjectRegistry::findOrCreate(
    const NSEntityDescription& entity, ObjectKey key,
    foundation::FunctionRef<NSManagedObject*()> create) {
  const std::scoped_lock lock(mutex_);
  Objects& known = objects(entity, key);
  NSManagedObject*& entry = known[key];
  // An object whose count reached zero is being destroyed on some thread; it is replaced, never
  // revived.
  if (entry != nullptr && entry->retainIfAlive()) return Ref<NSManagedObject>::adopt(entry);
  try {
    entry = create();
  } catch (...) {
    known.erase(key);
    throw;
  }
  return Ref<NSManagedObject>::adopt(entry);
}

void ObjectRegistry::add(NSManagedObject& object) {
  const std::scoped_lock lock(mutex_);
  objects(object.entity(), object.key_).insert_or_assign(object.key_, &object);
}

void ObjectRegistry::remove(const NSManagedObject& object) noexcept {
  const std::scoped_lock lock(mutex_);
  Objects& known = objects(object.entity(), object.key_);
  const auto found = known.find(object.key_);
  if (found != known.end() && found->second == &object) known.erase(found);
}

void ObjectRegistry::expect(std::span<const Ref<NSManagedObject>> objects, bool keepsUnheld) {
  std::vector<std::size_t> more(saved_.size());
  for (const Ref<NSManagedObject>& object : objects) {
    // The others cannot come to be held by somebody else any more.
    if (keepsUnheld || !object->isHeldOnce()) ++more[object->entity().index()];
  }
  const std::scoped_lock lock(mutex_);
  for (std::size_t i = 0; i < more.size(); ++i) {
    if (more[i] != 0) saved_[i].makeRoomFor(more[i]);
  }
}

void ObjectRegistry::makePermanent(std::span<const Ref<NSManagedObject>> objects,
                                   std::span<const ObjectKey> keys, bool keepsUnheld) noexcept {
  const std::scoped_lock lock(mutex_);
  const bool areAll = objects.size() == inserted_.size();
  for (std::size_t i = 0; i < objects.size(); ++i) {
    NSManagedObject& object = *objects[i];
    if (!areAll) inserted_.erase(object.key_);
    object.key_ = keys[i];
    // Nobody can come by a handle meanwhile: that takes this registry, and its lock.
    object.state_.unregistered = !keepsUnheld && object.isHeldOnce();
    if (!object.state_.unregistered) {
      saved_[object.entity().index()].insert_or_assign(object.key_, &object);
    }
  }
  if (areAll) inserted_.clear();
}

std::vector<Ref<NSManagedObject>> ObjectRegistry::objects() {
  std::vector<Ref<NSManagedObject>> result;
  const auto add = [&](const Objects& known) {
    for (const auto& [key, object] : known) {
      if (object->retainIfAlive()) result.push_back(Ref<NSManagedObject>::adopt(object));
    }
  };
  const std::scoped_lock lock(mutex_);
  add(inserted_);
  std::ranges::for_each(saved_, add);
  return result;
}

Ref<NSManagedObject> ObjectRegistry::takeAny() noexcept {
  const std::scoped_lock lock(mutex_);
  const auto take = [](Objects& known) {
    Ref<NSManagedObject> taken;
    while (!taken && !known.empty()) {
      const auto first = known.begin();
      if (first->second->retainIfAlive()) taken = Ref<NSManagedObject>::adopt(first->second);
      known.erase(first);
    }
    return taken;
  };
  Ref<NSManagedObject> taken = take(inserted_);
  for (std::size_t i = 0; !taken && i < saved_.size(); ++i) taken = take(saved_[i]);
  return taken;
}

void ObjectRegistry::forEachUnderLock(foundation::FunctionRef<void(NSManagedObject&)> visit) {
  const auto visitAll = [&](const Objects& known) {
    for (const auto& [key, object] : known) visit(*object);
  };
  const std::scoped_lock lock(mutex_);
  visitAll(inserted_);
  std::ranges::for_each(saved_, visitAll);
}

bool ObjectRegistry::empty() {
  const std::scoped_lock lock(mutex_);
  return inserted_.empty() && std::ranges::all_of(saved_, &Objects::empty);
}

}  // namespace coredata
