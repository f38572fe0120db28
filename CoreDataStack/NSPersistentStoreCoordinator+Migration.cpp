#include "CoreDataStack/NSPersistentStoreCoordinator+Migration.h"

#include "CoreData/Coordinator/NSPersistentStoreCoordinator.h"
#include "Foundation/Values/Error.h"

namespace coredatastack {

using coredata::NSPersistentStoreCoordinator;

std::optional<foundation::ValueDictionary> storeMetadata(const foundation::URL& at) {
  try {
    return NSPersistentStoreCoordinator::metadataForPersistentStore(coredata::NSSQLiteStoreType,
                                                                    at);
  } catch (const foundation::Error&) {
    return std::nullopt;  // Callers know only stores that can be read.
  }
}

}  // namespace coredatastack
