#include "CoreData/Object/NSSet.h"

#include <algorithm>

#include "CoreData/Context/NSManagedObjectContext.h"
#include "CoreData/Object/NSManagedObject.h"
#include "CoreData/Object/ObjectRegistry.h"
#include "Foundation/Internal/HashTables.h"

namespace coredata {

using foundation::Ref;

ObjectSet::ObjectSet() noexcept = default;
ObjectSet::ObjectSet(std::vector<Ref<NSManagedObject>> objects) {
  foundation::HashSet<const NSManagedObject*> known;
  for (Ref<NSManagedObject>& object : objects) {
    if (object && known.insert(object.get()).second) objects_.push_back(std::move(object));
  }
}
ObjectSet::ObjectSet(Ref<ObjectRegistry> registry, const NSEntityDescription& entity,
                     std::shared_ptr<const std::vector<ObjectKey>> stored,
                     std::vector<Ref<NSManagedObject>> unsaved)
    : registry_(std::move(registry)),
      entity_(&entity),
      stored_(std::move(stored)),
      objects_(std::move(unsaved)) {}
ObjectSet::ObjectSet(const ObjectSet&) = default;
ObjectSet::ObjectSet(ObjectSet&&) noexcept = default;
ObjectSet& ObjectSet::operator=(const ObjectSet&) = default;
ObjectSet& ObjectSet::operator=(ObjectSet&&) noexcept = default;
ObjectSet::~ObjectSet() = default;

std::size_t ObjectSet::count() const noexcept {
  return (stored_ ? stored_->size() : 0) + objects_.size();
}

Ref<NSManagedObject> ObjectSet::at(std::size_t index) const {
  const std::size_t stored = stored_ ? stored_->size() : 0;
  if (index >= stored) return objects_[index - stored];
  NSManagedObjectContext* context = registry_->context();
  return context == nullptr ? nullptr : context->object(*entity_, (*stored_)[index]);
}

bool ObjectSet::contains(const NSManagedObject& object) const noexcept {
  const bool isStored = stored_ && object.registry_ == registry_ && &object.entity() == entity_ &&
                        std::ranges::binary_search(*stored_, object.key_);
  return isStored || std::ranges::any_of(objects_, [&](const Ref<NSManagedObject>& member) {
           return member.get() == &object;
         });
}

}  // namespace coredata
