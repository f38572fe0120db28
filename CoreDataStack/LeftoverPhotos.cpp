#include "CoreDataStack/LeftoverPhotos.h"

#include <chrono>

#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/StoreClaim.h"
#include "CoreDataStack/BuildIdentifiers.h"
#include "CoreDataStack/CoreDataMigrationVersion.h"
#include "CoreDataStack/NSPersistentStoreCoordinator+Migration.h"
#include "CoreDataStack/SetAsidePhotos.h"
#include "Foundation/Files/FileManager.h"
#include "Foundation/Values/Error.h"

namespace coredatastack {

using foundation::Error;
using foundation::URL;

namespace {

constexpr std::chrono::milliseconds kNoWait{0};

bool isOfNewestVersion(const URL& store) {
  const auto metadata = storeMetadata(store);
  return metadata &&
         CoreDataMigrationVersion::storeVersion(*metadata) == CoreDataMigrationVersion::newest();
}

bool isBusy(const Error& error) {
  return error.domain() == foundation::kCocoaErrorDomain &&
         error.code() == static_cast<std::int64_t>(coredata::StoreErrorCode::busy);
}

void discard(const SetAsidePhotos& photos, const URL& ofStore) {
  if (!photos.exist()) return;
  try {
    const coredata::HeldClaim claim(ofStore, kNoWait);
    // Only now: an old backup may have taken the store's place, and what is set aside be its own.
    if (isOfNewestVersion(ofStore)) photos.discard();
  } catch (const Error& error) {
    // Whoever has the claim discards them too, or leaves them for the next opening.
    if (!isBusy(error)) throw;
  }
}

}  // namespace

void discardLeftoverPhotos(const URL& ofStore) {
  if (const auto photos = SetAsidePhotos::ofStore(ofStore)) discard(*photos, ofStore);
}

void discardLeftoverPhotos(const URL& ofStore, std::string_view storeIdentifier) {
  const auto container =
      foundation::FileManager::defaultManager().containerURL(appGroupIdentifier());
  if (container) discard(SetAsidePhotos(*container, storeIdentifier), ofStore);
}

}  // namespace coredatastack
