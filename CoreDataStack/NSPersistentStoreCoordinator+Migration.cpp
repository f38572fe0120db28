#include "CoreDataStack/NSPersistentStoreCoordinator+Migration.h"

#include <string>

#include "CoreData/SQLite/SQLiteStoreError.h"
#include "Foundation/Values/Error.h"
#include "Foundation/Values/FatalError.h"

namespace coredatastack {

using coredata::NSManagedObjectModel;
using coredata::NSPersistentStoreCoordinator;
using coredata::NSSQLiteStoreType;
using foundation::Error;
using foundation::fatalError;
using foundation::Ref;
using foundation::URL;
using foundation::ValueDictionary;

namespace {

// Crash reports are grouped by these positions. They are not this file's and never change.
constexpr std::string_view kCoordinatorSource =
    "CoreDataStack/NSPersistentStoreCoordinator+Migration";
constexpr int kDestroyingLine = 12;
constexpr int kReplacingLine = 23;
constexpr int kAddingLine = 39;

Ref<NSPersistentStoreCoordinator> coordinatorOfNoEntities() {
  return foundation::make<NSPersistentStoreCoordinator>(NSManagedObjectModel::empty());
}

bool isChangedMeanwhile(const Error& error) {
  return error.domain() == foundation::kCocoaErrorDomain &&
         error.code() == static_cast<std::int64_t>(coredata::StoreErrorCode::changedMeanwhile);
}

}  // namespace

std::optional<ValueDictionary> storeMetadata(const URL& at) {
  try {
    return NSPersistentStoreCoordinator::metadataForPersistentStore(NSSQLiteStoreType, at);
  } catch (const Error&) {
    return std::nullopt;  // Callers know only stores that can be read.
  }
}

Ref<coredata::NSPersistentStore> addSQLiteStore(NSPersistentStoreCoordinator& coordinator,
                                                const URL& at, const ValueDictionary& options) {
  try {
    return coordinator.addPersistentStore(NSSQLiteStoreType, std::nullopt, at, options);
  } catch (const Error& error) {
    fatalError("failed to add persistent store to coordinator, error: " + error.description(),
               kCoordinatorSource, kAddingLine);
  }
}

void destroyStore(const URL& at) {
  try {
    coordinatorOfNoEntities()->destroyPersistentStore(at, NSSQLiteStoreType);
  } catch (const Error& error) {
    fatalError("failed to destroy persistent store at " + at.description() +
                   ", error: " + error.description(),
               kCoordinatorSource, kDestroyingLine);
  }
}

void replaceStore(const URL& at, const URL& withStoreAt) {
  try {
    coordinatorOfNoEntities()->replacePersistentStore(at, {}, withStoreAt, {}, NSSQLiteStoreType);
  } catch (const Error& error) {
    if (isChangedMeanwhile(error)) throw;
    fatalError("failed to replace persistent store at " + at.description() + " with " +
                   withStoreAt.description() + ", error: " + error.description(),
               kCoordinatorSource, kReplacingLine);
  }
}

}  // namespace coredatastack
