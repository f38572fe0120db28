#pragma once

#include <mutex>

#include "CoreData/Coordinator/NSManagedObjectID.h"
#include "CoreData/Model/NSManagedObjectModel.h"
#include "Foundation/Internal/HashTables.h"

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

  /// Room for identifiers that are to become permanent, made before the commit that makes them so:
  /// what follows a commit cannot fail any more.
  class Room {
   public:
    Room(ObjectIDTable& table, std::size_t count);
    ~Room();
    Room(const Room&) = delete;
    Room& operator=(const Room&) = delete;

    /// Turns a temporary identifier permanent in place. `store` and `key` are those of the row just
    /// saved. For as many identifiers as there is room for.
    void makePermanent(NSManagedObjectID& identifier,
                       const foundation::Ref<NSPersistentStore>& store, ObjectKey key) noexcept;

   private:
    ObjectIDTable& table_;
    std::size_t left_;
  };

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
  /// With the mutex held: beside what is promised.
  void makeRoomFor(std::size_t more);
  /// Keeps one promise.
  void makePermanent(NSManagedObjectID& identifier, const foundation::Ref<NSPersistentStore>& store,
                     ObjectKey key) noexcept;
  static Place placeOf(const NSManagedObjectID& identifier) noexcept;
  void remove(const NSManagedObjectID& identifier) noexcept;

  // Entities belong to the model, and identifiers may outlive the coordinator.
  foundation::Ref<const NSManagedObjectModel> model_;
  std::mutex mutex_;
  foundation::HashMap<Place, NSManagedObjectID*> identifiers_;
  /// How many may yet come that must not be refused.
  std::size_t promised_ = 0;
};

}  // namespace coredata
