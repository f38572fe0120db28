#include <chrono>
#include <string_view>

#include "CoreDataStack/BuildIdentifiers.h"
#include "CoreDataStack/CoreDataMigrator+Notifications.h"
#include "CoreDataStack/LeftoverPhotos.h"
#include "CoreDataStack/NSPersistentStoreCoordinator+Migration.h"
#include "CoreDataStack/Stack/CoreDataConfiguration+Container.h"
#include "CoreDataStack/Stack/CoreDataError.h"
#include "CoreDataStack/Stack/CoreDataStack.h"
#include "Foundation/Files/TemporaryDirectory.h"
#include "Foundation/Notifications/NSNotificationCenter.h"
#include "Foundation/Progress/Progress.h"
#include "Foundation/Queues/GlobalQueue.h"

namespace coredatastack {

using coredata::NSPersistentStore;
using coredata::NSPersistentStoreCoordinator;
using coredata::NSPersistentStoreDescription;
using foundation::Error;
using foundation::NSNotificationCenter;
using foundation::Progress;
using foundation::Ref;
using foundation::TemporaryDirectory;
using foundation::URL;
using Names = CoreDataMigratorNotificationName;
using Version = CoreDataMigrationVersion;

namespace {

/// The model of the newest version bears this name in its bundle.
constexpr std::string_view kModelName = "Model";
/// As long as another process's migration of a person's store may take.
constexpr std::chrono::minutes kTemporaryDirectoryLimit{5};

/// Whether the store has to be brought forward first. One that nobody can read is left to the
/// opening, which says why; one of no version that is known is left to the migrator.
bool isToBeMigrated(const URL& store, const Version& newest) {
  const auto metadata = storeMetadata(store);
  return metadata && Version::storeVersion(*metadata) != newest;
}

template <typename Value>
void complete(const Completion<Value>& completion, const std::expected<Value, Failure>& outcome) {
  if (completion) completion(outcome);
}

std::expected<bool, Failure> outcomeOf(const std::expected<void, Failure>& opening,
                                       bool wasMigrated) {
  if (!opening) return std::unexpected(opening.error());
  return wasMigrated;
}

}  // namespace

bool CoreDataStack::needMigration() {
  try {
    const auto metadata = NSPersistentStoreCoordinator::metadataForPersistentStore(
        coredata::NSSQLiteStoreType, configuration_.path());
    return !managedObjectModel()->isConfiguration(std::nullopt, metadata);
  } catch (const Error& error) {
    logger_->error(error);
    return false;
  }
}

void CoreDataStack::setup(const Completion<bool>& completion) {
  const auto& descriptions = persistentContainer()->persistentStoreDescriptions();
  if (descriptions.empty() || !descriptions.front().url()) {
    complete<bool>(completion,
                   std::unexpected(CoreDataError::unableToLoadPersistentStore().clone()));
    return;
  }
  const URL store = *descriptions.front().url();
  const Version newest = Version::newest();
  // Nearly every start meets a store of the newest version. Opening tells so at the price of the
  // opening alone, and leaves any other as it was.
  if (opensTheNewestOnly() && load()) return complete<bool>(completion, false);
  if (isToBeMigrated(store, newest)) {
    migrateInBackground(store, newest, completion);
  } else {
    complete(completion, outcomeOf(load(), false));
  }
}

bool CoreDataStack::opensTheNewestOnly() {
  // With this name in this bundle the model is that of the newest version.
  const bool isTheNewest = configuration_.modelName() == kModelName &&
                           configuration_.bundleIdentifier() == modelBundleIdentifier();
  const auto& descriptions = persistentContainer()->persistentStoreDescriptions();
  return isTheNewest && descriptions.size() == 1 &&
         !descriptions.front().shouldMigrateStoreAutomatically();
}

void CoreDataStack::migrateInBackground(const URL& store, const Version& newest,
                                        const Completion<bool>& completion) {
  NSNotificationCenter::defaultCenter().post(Names::coreDataMigratorStarted);
  // What the caller watches is the calling thread's.
  const auto progress = Progress::progress(1);
  // The stack lives until the end is told.
  foundation::GlobalQueue::userInitiated().async(
      [stack = Ref<CoreDataStack>(this), store, newest, completion, progress] {
        std::expected<bool, Failure> outcome;
        try {
          progress->performAsCurrent(1, [&] { stack->bringForward(store, newest); });
          outcome = outcomeOf(stack->load(), true);
        } catch (const Error& error) {
          outcome = std::unexpected(error.clone());
        }
        complete(completion, outcome);
        NSNotificationCenter::defaultCenter().post(Names::coreDataMigratorFinished);
      });
}

void CoreDataStack::bringForward(const URL& store, const Version& newest) {
  const auto directory = TemporaryDirectory::ofProcess();
  const auto guard = directory.lock(kTemporaryDirectoryLimit);
  directory.removeContents(store);
  migrator_->migrateStore(store, newest);
}

std::expected<void, Failure> CoreDataStack::load() {
  std::expected<void, Failure> outcome;
  persistentContainer()->loadPersistentStores(
      [&](const NSPersistentStoreDescription&, const std::optional<Error>& error) {
        if (error) outcome = std::unexpected(error->clone());
      });
  for (const Ref<NSPersistentStore>& store : persistentStoreCoordinator()->persistentStores()) {
    discardLeftovers(*store);
  }
  return outcome;
}

void CoreDataStack::discardLeftovers(const NSPersistentStore& store) {
  try {
    discardLeftoverPhotos(*store.url(), store.identifier());
  } catch (const Error& error) {
    // The store is open and has its photos; the next opening tries again.
    logger_->error(error);
  }
}

void CoreDataStack::reload(const CoreDataConfiguration& configuration,
                           const Completion<NSPersistentStoreDescription>& completion) {
  const NSPersistentStoreDescription description = storeDescription(configuration, fileManager_);
  for (const Ref<NSPersistentStore>& store : persistentStoreCoordinator()->persistentStores()) {
    if (!store->url()) continue;
    try {
      persistentStoreCoordinator()->removePersistentStore(store);
    } catch (const Error& error) {
      logger_->error(error);
    }
  }
  persistentContainer()->setPersistentStoreDescriptions({description});
  persistentContainer()->loadPersistentStores(
      [&](const NSPersistentStoreDescription& loaded, const std::optional<Error>& error) {
        if (error) {
          complete<NSPersistentStoreDescription>(completion, std::unexpected(error->clone()));
        } else {
          complete<NSPersistentStoreDescription>(completion, loaded);
        }
      });
}

}  // namespace coredatastack
