#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "CoreData/Coordinator/NSManagedObjectID.h"
#include "CoreData/Coordinator/NSPersistentStore.h"
#include "CoreData/Coordinator/NSPersistentStoreDescription.h"
#include "CoreData/Coordinator/RemoteChangeNotification.h"
#include "CoreData/Coordinator/SaveBroadcast.h"
#include "CoreData/Model/NSManagedObjectModel.h"

namespace coredata {

class FetchPlanCache;
class ObjectIDTable;
class RemoteChangeWatcher;

/// Stands between the contexts and the store: adds and removes it, gives out object identifiers,
/// and passes on to each context what the others saved.
///
/// A coordinator has one store at a time; its file may be open in other coordinators and processes
/// as well. Where the store's description asks for it, their commits are announced: see
/// `NSPersistentStoreRemoteChangeNotification`.
///
/// Threading: use it on any thread.
class NSPersistentStoreCoordinator final : public foundation::Object {
 public:
  explicit NSPersistentStoreCoordinator(
      foundation::Ref<const NSManagedObjectModel> managedObjectModel);

  [[nodiscard]] const NSManagedObjectModel& managedObjectModel() const noexcept { return *model_; }
  [[nodiscard]] const foundation::Ref<const NSManagedObjectModel>& sharedManagedObjectModel()
      const noexcept {
    return model_;
  }
  [[nodiscard]] std::vector<foundation::Ref<NSPersistentStore>> persistentStores() const;

  /// Opens the store of the description, creating the file (not its directory) if it is missing.
  /// Adding the URL that is already open gives the open store. Throws `foundation::Error`; a file
  /// that was there is left as it was.
  foundation::Ref<NSPersistentStore> addPersistentStore(
      const NSPersistentStoreDescription& description);
  /// The same with everything said apart. A read-only store is asked for by an option.
  foundation::Ref<NSPersistentStore> addPersistentStore(
      std::string_view type, const std::optional<std::string>& configuration,
      const foundation::URL& url, const foundation::ValueDictionary& options = {});
  /// Closes the store. Its objects read as absent from then on, and pending changes can no longer
  /// be saved. No change is announced after it returns. Throws for a store that is not this
  /// coordinator's.
  void removePersistentStore(const foundation::Ref<NSPersistentStore>& store);

  /// Removes a store with everything beside it. One that is missing is fine; one that somebody has
  /// open, this coordinator included, is not. Throws with the store in place. No option says
  /// anything about it but reading only, which forbids it.
  void destroyPersistentStore(const foundation::URL& at, std::string_view type,
                              const foundation::ValueDictionary& options = {}) const;
  /// Gives one store the content of another, in one step. Whoever has it open has to close it and
  /// open it again. Throws before anything is touched when the other is no store, and
  /// `StoreErrorCode::changedMeanwhile` when this thread claimed the store, read it, and somebody
  /// wrote to it since. Of the options, reading only forbids it to the destination.
  void replacePersistentStore(const foundation::URL& at,
                              const foundation::ValueDictionary& destinationOptions,
                              const foundation::URL& withPersistentStoreFrom,
                              const foundation::ValueDictionary& sourceOptions,
                              std::string_view type) const;

  /// A store's metadata, read without creating, changing or disturbing anything, whatever the
  /// options. Throws when it cannot be read.
  [[nodiscard]] static foundation::ValueDictionary metadataForPersistentStore(
      std::string_view type, const foundation::URL& url,
      const foundation::ValueDictionary& options = {});

  /// The identifier that a permanent URI names; none for anything else: another scheme, store or
  /// entity, a number that is no key, a longer path, a query, a fragment, a temporary URI. Looks up
  /// no row and never throws.
  [[nodiscard]] foundation::Ref<NSManagedObjectID> managedObjectIDForURIRepresentation(
      const foundation::URL& uri) const;

  // What contexts need.

  /// The store, or null when there is none.
  [[nodiscard]] foundation::Ref<NSPersistentStore> store() const;
  [[nodiscard]] ObjectIDTable& identifiers() const noexcept { return *identifiers_; }
  [[nodiscard]] FetchPlanCache& plans() const noexcept { return *plans_; }
  void attach(CoordinatorClient& client);
  void detach(CoordinatorClient& client);
  /// Whether anybody but `client` listens to what is saved.
  [[nodiscard]] bool hasListenersBeside(const CoordinatorClient& client) const;
  void tellOthers(const CoordinatorClient& sender,
                  const std::shared_ptr<const SaveBroadcast>& broadcast);
  /// The same where there is no memory to tell it with.
  void tellOthersOfMissedSave(const CoordinatorClient& sender) noexcept;

 private:
  ~NSPersistentStoreCoordinator() override;

  [[nodiscard]] std::vector<std::pair<CoordinatorClient*, foundation::Ref<foundation::Object>>>
  livingClients();

  [[nodiscard]] std::unique_ptr<RemoteChangeWatcher> watcher(
      const foundation::Ref<NSPersistentStore>& store);

  /// Returns when nothing is announced any more.
  void endWatch();

  struct State;

  foundation::Ref<const NSManagedObjectModel> model_;
  foundation::Ref<ObjectIDTable> identifiers_;
  std::unique_ptr<FetchPlanCache> plans_;
  std::unique_ptr<State> state_;
};

}  // namespace coredata
