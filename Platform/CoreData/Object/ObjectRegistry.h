#pragma once

#include <atomic>
#include <mutex>
#include <span>
#include <vector>

#include "CoreData/Model/NSManagedObjectModel.h"
#include "CoreData/Object/NSManagedObject.h"
#include "Foundation/Internal/HashTables.h"
#include "Foundation/Values/FunctionRef.h"

namespace coredata {

/// A context's live objects by entity and key. It holds none of them: an object leaves it when its
/// last handle goes, on whatever thread that is. The registry outlives its context for as long as
/// an object does, and tells objects that their context is gone.
///
/// Threading: one lock, held for a look-up.
class ObjectRegistry final : public foundation::Object {
 public:
  /// `context` is null for objects that belong to none.
  ObjectRegistry(NSManagedObjectContext* context,
                 foundation::Ref<const NSManagedObjectModel> model);

  /// The context, or null once it is gone.
  [[nodiscard]] NSManagedObjectContext* context() const noexcept {
    return context_.load(std::memory_order_acquire);
  }
  void forgetContext() noexcept { context_.store(nullptr, std::memory_order_release); }

  [[nodiscard]] foundation::Ref<NSManagedObject> find(const NSEntityDescription& entity,
                                                      ObjectKey key);
  /// The live object, or the one that `create` makes (without registering it) while nobody else
  /// can.
  [[nodiscard]] foundation::Ref<NSManagedObject> findOrCreate(
      const NSEntityDescription& entity, ObjectKey key,
      foundation::FunctionRef<NSManagedObject*()> create);
  void add(NSManagedObject& object);
  /// Takes the object out, unless another one has its place by now.
  void remove(const NSManagedObject& object) noexcept;
  /// Gives inserted objects the keys under which they were saved, if `keepsUnheld` to all of them,
  /// else only to those that somebody beside the caller holds: the others leave the registry now,
  /// because they end with the caller's handles.
  ///
  /// `expect` with the same objects comes before it, and between the two the context makes no other
  /// objects: a commit lies there, after which nothing may fail.
  void makePermanent(std::span<const foundation::Ref<NSManagedObject>> objects,
                     std::span<const ObjectKey> keys, bool keepsUnheld) noexcept;
  void expect(std::span<const foundation::Ref<NSManagedObject>> objects, bool keepsUnheld);

  [[nodiscard]] std::vector<foundation::Ref<NSManagedObject>> objects();
  /// Takes a live object out, for a context that ends; null when there is none left. Costs no
  /// memory, but where there are many objects the time of a walk past those that were there.
  [[nodiscard]] foundation::Ref<NSManagedObject> takeAny() noexcept;
  /// Calls `visit` with each object under the lock, those included that are about to die: it may
  /// look at them and drop what they hold, but nothing else.
  void forEachUnderLock(foundation::FunctionRef<void(NSManagedObject&)> visit);
  [[nodiscard]] bool empty();

 private:
  std::atomic<NSManagedObjectContext*> context_;
  // Objects point to entities, which belong to the model.
  foundation::Ref<const NSManagedObjectModel> model_;
  std::mutex mutex_;
  using Objects = foundation::HashMap<ObjectKey, NSManagedObject*>;
  [[nodiscard]] Objects& objects(const NSEntityDescription& entity, ObjectKey key) noexcept {
    return isTemporary(key) ? inserted_ : saved_[entity.index()];
  }

  /// By temporary key, which no two objects share. Apart from the others, so that a large save
  /// empties it at once.
  Objects inserted_;
  /// By entity and permanent key.
  std::vector<Objects> saved_;
};

}  // namespace coredata
