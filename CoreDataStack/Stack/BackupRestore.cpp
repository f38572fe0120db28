#include "CoreDataStack/Stack/BackupRestore.h"

#include <chrono>
#include <optional>
#include <string_view>
#include <utility>

#include "CoreData/Coordinator/NSPersistentStoreCoordinator.h"
#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/StoreBackup.h"
#include "CoreData/SQLite/StoreClaim.h"
#include "CoreDataStack/CoreDataMigratorError.h"
#include "CoreDataStack/NSManagedObjectModel+Migration.h"
#include "CoreDataStack/NSPersistentStoreCoordinator+Migration.h"
#include "Foundation/Files/FileManager.h"
#include "Foundation/Files/TemporaryDirectory.h"

namespace coredatastack {

using coredata::NSManagedObjectModel;
using coredata::NSPersistentStoreCoordinator;
using coredata::NSSQLiteStoreType;
using coredata::StoreClaim;
using coredata::StoreErrorCode;
using foundation::Data;
using foundation::Error;
using foundation::FileManager;
using foundation::Ref;
using foundation::TemporaryDirectory;
using foundation::URL;
using Version = CoreDataMigrationVersion;

namespace {

constexpr std::string_view kTemporaryName = "Model.sqlite";
/// The copy of the store that was there. Always the same, so that one that a killed restore left
/// goes with the next.
constexpr std::string_view kKeptName = "Replaced.sqlite";
/// Longer than any migration of a person's store takes.
constexpr std::chrono::minutes kLimit{5};
/// Somebody who commits between each copy of the store and its replacement has to stop some time.
constexpr int kAttempts = 10;

bool is(const Error& error, StoreErrorCode code) {
  return error.domain() == foundation::kCocoaErrorDomain &&
         error.code() == static_cast<std::int64_t>(code);
}

/// Whether the error is about what a file holds, rather than about getting at it.
bool concernsContent(const Error& error) {
  return is(error, StoreErrorCode::notAStore) || is(error, StoreErrorCode::damaged) ||
         is(error, StoreErrorCode::foreignSchema) || is(error, StoreErrorCode::incompatibleModel) ||
         is(error, StoreErrorCode::newerVersion) || is(error, StoreErrorCode::missing);
}

void removeIfThere(const std::string& path) {
  FileManager& files = FileManager::defaultManager();
  const URL url = URL::fileURL(path);
  if (files.itemKind(url)) files.removeItem(url);
}

/// An earlier restore's log would be replayed over what comes in the store's place.
void removeStore(const URL& store) {
  const std::string path = store.filePath().value();
  for (const char* suffix : {"", "-wal", "-shm", "-journal"}) removeIfThere(path + suffix);
}

/// Throws what a migration of the store would say of a file that is no store of ours.
void requireRestorable(const URL& backup, const URL& store) {
  const auto metadata = storeMetadata(backup);
  const auto version = metadata ? Version::storeVersion(*metadata) : std::nullopt;
  if (!version) throw CoreDataMigratorError::unknownStoreVersion(store);
  try {
    coredata::requireSoundStore(backup, *model(version->rawValue()));
  } catch (const Error& error) {
    if (concernsContent(error)) throw CoreDataMigratorError::unknownStoreVersion(store);
    throw;
  }
}

}  // namespace

/// What was in the store's place.
class BackupRestore::KeptStore {
 public:
  KeptStore(const URL& store, const URL& inDirectory)
      : claim_(store, kLimit),
        store_(store),
        copy_(inDirectory.appendingPathComponent(kKeptName)) {}
  ~KeptStore() { forget(); }
  KeptStore(const KeptStore&) = delete;
  KeptStore& operator=(const KeptStore&) = delete;

  /// Copies the store as it stands. From here on it is replaced only if nobody has written to it.
  void keep() {
    forget();
    // One that cannot be examined is not missing: it would be replaced, and nothing put back.
    isMissing_ = !FileManager::defaultManager().itemKind(store_);
    if (isMissing_) return;
    try {
      claim_.markRead();
      coredata::backUpStore(store_, copy_);
      isKept_ = true;
    } catch (const Error& error) {
      // A restore is what helps against a damaged store. One that is no database at all is set
      // aside by the replacement.
      if (!concernsContent(error)) throw;
      claim_.forgetRead();
    }
  }

  void wasReplaced() noexcept {
    claim_.forgetRead();
    claim_.disconnect();
  }

  /// Throws with the copy in place.
  void putBack() {
    claim_.forgetRead();
    if (isMissing_) coordinator().destroyPersistentStore(store_, NSSQLiteStoreType);
    if (isKept_) coordinator().replacePersistentStore(store_, {}, copy_, {}, NSSQLiteStoreType);
  }

  /// Leaves the copy where it is; nothing when there is none.
  [[nodiscard]] std::optional<URL> leave() noexcept {
    return std::exchange(isKept_, false) ? std::optional(copy_) : std::nullopt;
  }

 private:
  static const NSPersistentStoreCoordinator& coordinator() {
    static const auto& shared = *new Ref<NSPersistentStoreCoordinator>(
        foundation::make<NSPersistentStoreCoordinator>(NSManagedObjectModel::empty()));
    return *shared;
  }

  void forget() noexcept {
    if (!std::exchange(isKept_, false)) return;
    try {
      FileManager::defaultManager().removeItem(copy_);
    } catch (const Error&) {
      // It lies where everything is removed before the next migration.
    }
  }

  StoreClaim claim_;
  const URL store_;
  const URL copy_;
  bool isKept_ = false;
  bool isMissing_ = false;
};

BackupRestore::BackupRestore(CoreDataMigratorProtocol& migrator,
                             Ref<const NSManagedObjectModel> model, Ref<logger::Loggable> logger)
    : migrator_(migrator), model_(std::move(model)), logger_(std::move(logger)) {}

void BackupRestore::run(const Data& backup, const URL& store) const {
  const auto directory = TemporaryDirectory::ofProcess();
  const auto guard = directory.lock(kLimit);
  // Else the backup would be written over the very store, or beside it and then be removed.
  directory.requireApart(store);
  const URL temporary = directory.url().appendingPathComponent(kTemporaryName);
  removeStore(directory.url().appendingPathComponent(kKeptName));
  removeStore(temporary);
  FileManager::defaultManager().write(backup, temporary);
  requireRestorable(temporary, store);

  KeptStore kept(store, directory.url());
  replace(kept, store, temporary);
  try {
    migrator_.migrateStore(store, Version::newest());
  } catch (...) {
    putBack(kept, store);
    throw;
  }
}

void BackupRestore::replace(KeptStore& kept, const URL& store, const URL& by) const {
  const auto coordinator = foundation::make<NSPersistentStoreCoordinator>(model_);
  for (int attempt = 1;; ++attempt) {
    kept.keep();
    try {
      coordinator->replacePersistentStore(store, {}, by, {}, NSSQLiteStoreType);
      return kept.wasReplaced();
    } catch (const Error& error) {
      if (!is(error, StoreErrorCode::changedMeanwhile) || attempt == kAttempts) throw;
    }
  }
}

void BackupRestore::putBack(KeptStore& kept, const URL& store) const noexcept {
  try {
    kept.putBack();
  } catch (const Error& error) {
    logger_->error(error);
    if (const auto copy = kept.leave()) {
      logger_->error(Error(std::string(foundation::kCocoaErrorDomain), error.code(),
                           "The store " + store.description() +
                               " could not be put back after its restore had failed. What it held "
                               "lies in " +
                               copy->description() + " until the next migration begins."));
    }
  }
}

}  // namespace coredatastack
