#pragma once

#include "CoreData/Container/NSPersistentContainer.h"
#include "CoreDataStack/Stack/CoreDataConfiguration.h"
#include "Foundation/Files/FileManager.h"

namespace coredatastack {

/// How the store of a configuration is opened. In production it is mirrored when the user wants it
/// and the file manager knows a cloud identity at this moment.
[[nodiscard]] coredata::NSPersistentStoreDescription storeDescription(
    const CoreDataConfiguration& configuration, const foundation::FileManager& fileManager);

/// A container of the configuration's kind and name over the model, with the one description of its
/// store, which is not loaded yet.
[[nodiscard]] foundation::Ref<coredata::NSPersistentContainer> persistentContainer(
    const CoreDataConfiguration& configuration,
    foundation::Ref<const coredata::NSManagedObjectModel> managedObjectModel,
    const foundation::FileManager& fileManager);

}  // namespace coredatastack
