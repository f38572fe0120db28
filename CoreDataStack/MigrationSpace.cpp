#include "CoreDataStack/MigrationSpace.h"

#include <optional>
#include <string>

#include "CoreData/Migration/MigrationError.h"
#include "CoreDataStack/BuildIdentifiers.h"
#include "CoreDataStack/MurtelleMigrationPolicyV6toV7.h"
#include "CoreDataStack/PhotoDirectories.h"
#include "Foundation/Files/FileManager.h"

namespace coredatastack {

using foundation::FileManager;
using foundation::URL;

namespace {

bool foldsPhotos(const CoreDataMigrationStep& step) {
  const auto* mapping = step.mappingModel->entityMapping(MurtelleMigrationPolicyV6toV7::kPhotos);
  return mapping != nullptr &&
         mapping->entityMigrationPolicyClassName() == MurtelleMigrationPolicyV6toV7::kClassName;
}

}  // namespace

void requireSpace(std::uint64_t needed, const URL& inDirectory, const std::string& what) {
  const std::uint64_t available = FileManager::defaultManager().availableCapacity(inDirectory);
  if (available >= needed) return;
  throw coredata::migrationError(coredata::MigrationErrorCode::noSpace,
                                 "There is not enough room on the disk " + what + ": " +
                                     std::to_string(needed) + " bytes are needed in " +
                                     inDirectory.filePath().value_or(inDirectory.absoluteString()) +
                                     ", " + std::to_string(available) + " are free.");
}

std::uint64_t spaceOfStore(const URL& store) {
  const auto path = store.filePath();
  if (!path) return 0;
  const FileManager& files = FileManager::defaultManager();
  return files.size(*path) + files.size(*path + "-wal");
}

std::uint64_t spaceForStep(const URL& store, const CoreDataMigrationStep& step) {
  // The new store, and as much again for what SQLite sorts and joins on the way.
  std::uint64_t space = 2 * spaceOfStore(store);
  const auto container = FileManager::defaultManager().containerURL(appGroupIdentifier());
  if (container && foldsPhotos(step)) space += spaceOfPhotos(*container);
  return space;
}

void requireSpaceForStep(const URL& store, const CoreDataMigrationStep& step) {
  requireSpace(spaceForStep(store, step), FileManager::defaultManager().temporaryDirectory(),
               "to bring the store to the next version");
}

void requireSpaceForReplacement(const URL& store, const URL& by) {
  requireSpace(spaceOfStore(by), store.deletingLastPathComponent(),
               "to put the new store in place");
}

}  // namespace coredatastack
