#pragma once

#include <atomic>
#include <string>

#include "CoreData/Coordinator/NSPersistentStore.h"
#include "CoreData/Rows/ObjectKey.h"
#include "Foundation/Values/Object.h"
#include "Foundation/Values/URL.h"

namespace coredata {

class ObjectIDTable;

/// Says which object is meant, in any context and for as long as the store lives.
///
/// A coordinator makes one identifier per object, so within it equality is identity. The identifier
/// of an object that was never saved is temporary; the save makes the same identifier permanent,
/// and its hash and URI change.
///
/// Threading: use it on any thread; it turns permanent on the thread that saves.
class NSManagedObjectID final : public foundation::Object {
 public:
  [[nodiscard]] const NSEntityDescription& entity() const noexcept { return *entity_; }
  [[nodiscard]] bool isTemporaryID() const noexcept { return isTemporary(key()); }
  [[nodiscard]] ObjectKey key() const noexcept { return key_.load(std::memory_order_acquire); }
  /// The store that holds the object; null while the identifier is temporary.
  [[nodiscard]] foundation::Ref<NSPersistentStore> persistentStore() const;
  /// "x-coredata://<store UUID>/<entity>/p<key>"; "x-coredata:///<entity>/t<unique text>" while
  /// temporary.
  [[nodiscard]] foundation::URL uriRepresentation() const;

  /// Equal store, entity and key, also across coordinators.
  [[nodiscard]] bool isEqual(const foundation::Object& other) const noexcept override;
  [[nodiscard]] std::size_t hash() const noexcept override;
  [[nodiscard]] std::string description() const override;

 private:
  friend class ObjectIDTable;
  NSManagedObjectID(foundation::Ref<ObjectIDTable> table, foundation::Ref<NSPersistentStore> store,
                    const NSEntityDescription& entity, ObjectKey key);
  ~NSManagedObjectID() override;
  void lastReferenceDropped() const noexcept override;

  foundation::Ref<ObjectIDTable> table_;
  /// Set once, before `key_` becomes positive.
  foundation::Ref<NSPersistentStore> store_;
  const NSEntityDescription* entity_;
  std::atomic<ObjectKey> key_;
};

}  // namespace coredata
