#include "CoreData/Container/AutomaticMigration.h"

#include <chrono>
#include <optional>
#include <vector>

#include "CoreData/Coordinator/NSPersistentStoreCoordinator.h"
#include "CoreData/Migration/NSMigrationManager.h"
#include "CoreData/SQLite/StoreClaim.h"
#include "Foundation/Files/Bundle.h"
#include "Foundation/Files/FileManager.h"
#include "Foundation/Files/TemporaryDirectory.h"
#include "Foundation/Values/Error.h"
#include "Foundation/Values/UUID.h"

namespace coredata {

using foundation::make;
using foundation::Ref;
using foundation::URL;
using foundation::ValueDictionary;

namespace {

constexpr std::chrono::seconds kClaimLimit{30};

/// None where nothing can be read; whoever opens the store finds out why.
std::optional<ValueDictionary> readableMetadata(const URL& store) {
  try {
    return NSPersistentStoreCoordinator::metadataForPersistentStore(NSSQLiteStoreType, store);
  } catch (const foundation::Error&) {
    return std::nullopt;
  }
}

Ref<const NSManagedObjectModel> modelOf(const ValueDictionary& metadata) {
  std::vector<URL> models;
  for (const foundation::Bundle& bundle : foundation::Bundle::allBundles()) {
    for (URL& url : bundle.urls("momd")) models.push_back(std::move(url));
  }
  return NSManagedObjectModel::mergedModel(models, metadata);
}

/// A store in the temporary directory, gone with its owner.
class TemporaryStore {
 public:
  TemporaryStore()
      : url_(foundation::FileManager::defaultManager().temporaryDirectory().appendingPathComponent(
            foundation::UUID().uuidString())) {}
  ~TemporaryStore() {
    try {
      make<NSPersistentStoreCoordinator>(NSManagedObjectModel::empty())
          ->destroyPersistentStore(url_, NSSQLiteStoreType);
    } catch (const foundation::Error&) {
      // It lies where the next one who needs the directory removes it.
    }
  }
  TemporaryStore(const TemporaryStore&) = delete;
  TemporaryStore& operator=(const TemporaryStore&) = delete;

  [[nodiscard]] const URL& url() const noexcept { return url_; }

 private:
  URL url_;
};

void migrate(const URL& store, const Ref<const NSManagedObjectModel>& from,
             const Ref<const NSManagedObjectModel>& to) {
  const auto mapping = NSMappingModel::inferredMappingModel(*from, *to);
  const foundation::TemporaryDirectory directory = foundation::TemporaryDirectory::ofProcess();
  directory.requireApart(store);
  const auto held = directory.lock();
  const TemporaryStore made;
  make<NSMigrationManager>(from, to)->migrateStore(store, NSSQLiteStoreType, {}, mapping,
                                                   made.url(), NSSQLiteStoreType, {});
  SQLiteStore::buildIndexes(StoreOptions(made.url()), to);
  make<NSPersistentStoreCoordinator>(to)->replacePersistentStore(store, {}, made.url(), {},
                                                                 NSSQLiteStoreType);
}

}  // namespace

void migrateAutomatically(const URL& store, const Ref<const NSManagedObjectModel>& to) {
  const auto isOld = [&](const std::optional<ValueDictionary>& metadata) {
    return metadata && !to->isConfiguration(std::nullopt, *metadata);
  };
  if (!isOld(readableMetadata(store))) return;
  StoreClaim claim(store, kClaimLimit);
  const std::optional<ValueDictionary> metadata = readableMetadata(store);
  if (!isOld(metadata)) return;
  const Ref<const NSManagedObjectModel> from = modelOf(*metadata);
  if (!from) return;
  claim.markRead();
  migrate(store, from, to);
}

}  // namespace coredata
