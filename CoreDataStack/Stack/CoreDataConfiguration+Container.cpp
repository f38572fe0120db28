#include "CoreDataStack/Stack/CoreDataConfiguration+Container.h"

#include <optional>

#include "CoreData/Container/NSPersistentCloudKitContainer.h"

namespace coredatastack {

using coredata::NSManagedObjectModel;
using coredata::NSPersistentCloudKitContainer;
using coredata::NSPersistentCloudKitContainerOptions;
using coredata::NSPersistentContainer;
using coredata::NSPersistentStoreDescription;
using foundation::FileManager;
using foundation::make;
using foundation::Ref;
using Stage = CoreDataConfiguration::Stage;

namespace {

void describeTemporaryStore(NSPersistentStoreDescription& description) {
  description.setConfiguration("Local");
  description.setShouldMigrateStoreAutomatically(true);
  description.setShouldInferMappingModelAutomatically(true);
  description.setOption(coredata::NSFileProtectionCompleteUnlessOpen,
                        coredata::NSPersistentStoreFileProtectionKey);
  description.setType(std::string(coredata::NSSQLiteStoreType));
}

/// A store that several processes share, and that only the migrator brings forward.
void describeSharedStore(NSPersistentStoreDescription& description) {
  description.setShouldMigrateStoreAutomatically(false);
  description.setShouldInferMappingModelAutomatically(false);
  description.setOption(true, coredata::NSPersistentHistoryTrackingKey);
  description.setOption(true, coredata::NSPersistentStoreRemoteChangeNotificationPostOptionKey);
}

std::optional<NSPersistentCloudKitContainerOptions> cloudOptions(
    const CoreDataConfiguration& configuration, const FileManager& fileManager) {
  if (!configuration.useCloudSync() || !fileManager.ubiquityIdentityToken()) return std::nullopt;
  return NSPersistentCloudKitContainerOptions(configuration.iCloudIdentifier());
}

Ref<NSPersistentContainer> emptyContainer(const CoreDataConfiguration& configuration,
                                          Ref<const NSManagedObjectModel> model) {
  // Also without mirroring: whether the user wants it may change, the container's kind does not.
  if (configuration.stage() == Stage::production)
    return make<NSPersistentCloudKitContainer>(configuration.modelName(), std::move(model));
  return make<NSPersistentContainer>(configuration.modelName(), std::move(model));
}

}  // namespace

NSPersistentStoreDescription storeDescription(const CoreDataConfiguration& configuration,
                                              const FileManager& fileManager) {
  NSPersistentStoreDescription description(configuration.path());
  switch (configuration.stage()) {
    case Stage::temp:
      describeTemporaryStore(description);
      break;
    case Stage::inMemory:
      break;
    case Stage::production:
      describeSharedStore(description);
      description.setCloudKitContainerOptions(cloudOptions(configuration, fileManager));
      break;
    case Stage::extensions:
      describeSharedStore(description);
      break;
  }
  return description;
}

Ref<NSPersistentContainer> persistentContainer(const CoreDataConfiguration& configuration,
                                               Ref<const NSManagedObjectModel> managedObjectModel,
                                               const FileManager& fileManager) {
  auto container = emptyContainer(configuration, std::move(managedObjectModel));
  container->setPersistentStoreDescriptions({storeDescription(configuration, fileManager)});
  return container;
}

}  // namespace coredatastack
