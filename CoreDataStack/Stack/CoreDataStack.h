#pragma once

#include <concepts>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "Combine/AnyCancellable.h"
#include "Combine/PassthroughSubject.h"
#include "CoreData/Container/NSPersistentContainer.h"
#include "CoreDataStack/CoreDataMigratorProtocol.h"
#include "CoreDataStack/History/PersistentHistoryObservable.h"
#include "CoreDataStack/Stack/Completion.h"
#include "CoreDataStack/Stack/CoreDataConfiguration.h"
#include "CoreDataStack/Stack/SyncEvent.h"
#include "Foundation/Files/FileManager.h"
#include "Logger/Loggable.h"

namespace coredatastack {

/// The one persistent container of a process: opens its store, brings an old one forward before
/// that, hands out contexts, and keeps the view context in step with what other processes write.
///
///     auto stack = foundation::make<CoreDataStack>(configuration, logger);
///     stack->setup([](const auto& outcome) { ... });
///     const auto& context = stack->managedObjectContext();
///
/// - Read `managedObjectContext` once before setup, or right after it: it is then that the view
///   context gets its author, by which other processes' changes are told from its own.
/// - Background contexts have no author and the error merge policy. What they save comes back as
///   somebody else's, which is harmless, and a conflict is thrown at them.
/// - The history is followed as the target `app`, with the timestamps in the process's standard
/// user
///   defaults, whatever the stage. So nothing is ever deleted from the history unless the
///   application makes a `PersistentHistoryObserver` of its own over defaults that all its
///   processes share.
/// - Nothing is torn down. A stack that goes leaves its container to those who still hold its
///   contexts.
///
/// Threading: make it, and use it for the first time, on one thread; its members are made without
/// locking. `privateManagedObjectContext` may be read on any thread once there is a container.
class CoreDataStack final : public foundation::Object {
 public:
  using SyncEvent = coredatastack::SyncEvent;

  /// Loads the model, builds the container and begins to follow the store's changes; no store is
  /// opened and nothing is written. Stops the process when there is no such bundle, model or
  /// version list.
  CoreDataStack(CoreDataConfiguration configuration, foundation::Ref<logger::Loggable> logger);

  // What it is made of. The members that can be set are built when they are first read; setting one
  // replaces the object and changes nothing else.

  [[nodiscard]] const foundation::Ref<const coredata::NSManagedObjectModel>& managedObjectModel();
  void setManagedObjectModel(foundation::Ref<const coredata::NSManagedObjectModel> model);
  [[nodiscard]] const foundation::Ref<coredata::NSPersistentContainer>& persistentContainer();
  void setPersistentContainer(foundation::Ref<coredata::NSPersistentContainer> container);
  /// The view context: its changes win over the store's, bear the configuration's author, and it
  /// merges what the container's other contexts save. It belongs to the main thread.
  [[nodiscard]] const foundation::Ref<coredata::NSManagedObjectContext>& managedObjectContext();
  void setManagedObjectContext(foundation::Ref<coredata::NSManagedObjectContext> context);
  /// A new background context at each call, the caller's own.
  [[nodiscard]] foundation::Ref<coredata::NSManagedObjectContext> privateManagedObjectContext();
  [[nodiscard]] const foundation::Ref<coredata::NSPersistentStoreCoordinator>&
  persistentStoreCoordinator();

  /// The events of the history's observer, on the threads on which it sends them.
  [[nodiscard]] const foundation::Ref<combine::PassthroughSubject<SyncEvent>>& syncEvent()
      const noexcept {
    return syncEvent_;
  }

  // Opening.

  /// Whether the store that is there is of another version than the model. False, and logged, when
  /// its metadata cannot be read; so it is for a store that is yet to be made.
  [[nodiscard]] bool needMigration();

  /// Opens the store, making it if need be; true says that it was migrated first. To be called once
  /// for a process.
  ///
  /// - No store, or one of the newest version: the completion is called before this returns.
  /// - Any other store: "CoreDataMigrator.started" is posted, and the rest is done on a background
  ///   thread: the temporary directory is emptied, the store migrated and opened, the completion
  ///   called there, and "CoreDataMigrator.finished" posted after it. On failure nothing is opened.
  ///   The migration counts towards the calling thread's current progress, which can cancel it.
  ///
  /// Errors: `CoreDataError::unableToLoadPersistentStore` without a store to open; those of the
  /// temporary directory, which is refused when it is not wholly this program's own or holds the
  /// store; the migrator's; the store's. They reach the completion unchanged.
  void setup(const Completion<bool>& completion);

  /// Closes the store and opens that of another configuration, in the container as it is: its
  /// class, its model and its contexts stay. Nothing is migrated. What objects the contexts had
  /// read as absent from then on. A store that cannot be closed is logged. The completion gets what
  /// was opened, before this returns.
  void reload(const CoreDataConfiguration& configuration,
              const Completion<coredata::NSPersistentStoreDescription>& completion = {});

  // Objects by their identifiers. None throws; whether the object still exists is found out when
  // it is looked into.

  /// The view context's object that a URI names; none when it names no object of the open store, or
  /// one of another class.
  template <std::derived_from<coredata::NSManagedObject> T>
  [[nodiscard]] foundation::Ref<T> object(std::string_view byURI) {
    return foundation::as<T>(objectFor(byURI, *managedObjectContext()));
  }
  template <std::derived_from<coredata::NSManagedObject> T>
  [[nodiscard]] foundation::Ref<T> object(std::string_view byURI,
                                          coredata::NSManagedObjectContext& in) {
    return foundation::as<T>(objectFor(byURI, in));
  }
  template <std::derived_from<coredata::NSManagedObject> T>
  [[nodiscard]] foundation::Ref<T> object(const coredata::NSManagedObjectID& by) {
    return foundation::as<T>(managedObjectContext()->objectWithID(by));
  }
  template <std::derived_from<coredata::NSManagedObject> T>
  [[nodiscard]] static foundation::Ref<T> object(const coredata::NSManagedObjectID& by,
                                                 coredata::NSManagedObjectContext& in) {
    return foundation::as<T>(in.objectWithID(by));
  }

  // Backups.

  /// Puts a backup into the store's place and brings it to the newest version, on this thread;
  /// the completion receives nothing, or the error. The store is as it was when there is one.
  ///
  /// - Bytes that are not a sound store of one of our versions are refused before anything is
  ///   touched, as `CoreDataMigratorError::unknownStoreVersion`.
  /// - Killed at any moment, the store is wholly the old one or wholly the backup's.
  /// - Whoever has the store open, this stack included, is told so by
  ///   `StoreErrorCode::replaced` and has to open it again: see `reload`.
  ///
  /// Threading: any thread, one restore at a time for a temporary directory.
  void restoreFromDropbox(const foundation::Data& with,
                          const std::function<void(const Failure&)>& completion = {});
  /// Begins to look for backups among the user's cloud documents; what is found arrives at
  /// `refresh`, on the main queue. A search under way is given up for this one.
  void restoreFromCloud();
  /// Lists the backups that a search has found on standard output: the URLs that contain "Backups",
  /// in order.
  void refresh(const foundation::NSNotification& notification);

 private:
  ~CoreDataStack() override;

  [[nodiscard]] const foundation::Ref<PersistentHistoryObservable>& historyObserver();
  void follow();
  [[nodiscard]] foundation::Ref<coredata::NSManagedObject> objectFor(
      std::string_view uri, coredata::NSManagedObjectContext& in);

  void migrateInBackground(const foundation::URL& store, const CoreDataMigrationVersion& newest,
                           const Completion<bool>& completion);
  /// The first two steps of a migration's job.
  void bringForward(const foundation::URL& store, const CoreDataMigrationVersion& newest);
  /// Whether opening a store of another version fails and changes nothing.
  [[nodiscard]] bool opensTheNewestOnly();
  [[nodiscard]] std::expected<void, Failure> load();
  void discardLeftovers(const coredata::NSPersistentStore& store);

  const std::unique_ptr<CoreDataMigratorProtocol> migrator_;
  const CoreDataConfiguration configuration_;
  const foundation::Ref<logger::Loggable> logger_;
  const foundation::Ref<combine::PassthroughSubject<SyncEvent>> syncEvent_;
  foundation::FileManager& fileManager_;
  foundation::Ref<PersistentHistoryObservable> historyObserver_;
  foundation::Ref<const coredata::NSManagedObjectModel> managedObjectModel_;
  foundation::Ref<coredata::NSManagedObjectContext> managedObjectContext_;
  foundation::Ref<coredata::NSPersistentContainer> persistentContainer_;
  /// Ends first: an event in flight must not meet members that are gone.
  std::vector<combine::AnyCancellable> cancellables_;
};

}  // namespace coredatastack
