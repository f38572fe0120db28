#pragma once

#include <mutex>

#include "CoreData/Coordinator/NSManagedObjectID.h"
#include "CoreData/Model/NSManagedObjectModel.h"
#include "absl/container/flat_hash_map.h"

namespace coredata {

/// The identifiers of a coordinator, one for each object that somebody holds one of.
/// Threading: use it on any thread; one lock, held for a look-up.
class ObjectIDTable final : public foundation::Object {
 public:
  explicit ObjectIDTable(foundation::Ref<const NSManagedObjectModel> model)
      : model_(std::move(model)) {}

  /// The identifier of that object, made if nobody holds one. `store` is null for a temporary key.
  [[nodiscard]] foundation::Ref<NSManagedObjectID> identifier(
      const foundation::Ref<NSPersistentStore>& store, const NSEntityDescription& entity,
      ObjectKey key);
  /// Turns a temporary identifier permanent in place. `store` and `key` are those of the row just
  /// saved.
  void makePermanent(NSManagedObjectID& identifier, const foundation::Ref<NSPersistentStore>& store,
                     ObjectKey key);

 private:
  friend class NSManagedObjectID;
  struct Place {
    std::uint64_t store = 0;
    const NSEntityDescription* entity = nullptr;
    ObjectKey key = kNoObject;

    friend bool operator==(const Place&, const Place&) = default;
    template <typename H>
    friend H AbslHashValue(H state, const Place& place) {
      return H::combine(std::move(state), place.store, place.entity, place.key);
    }
  };
  static Place placeOf(const NSManagedObjectID& identifier) noexcept;
  void remove(const NSManagedObjectID& identifier) noexcept;

  // Entities belong to the model, and identifiers may outlive the coordinator.
  foundation::Ref<const NSManagedObjectModel> model_;
  std::mutex mutex_;
  absl::flat_hash_map<Place, NSManagedObjectID*> identifiers_;
};

}  // namespace coredata
