#include "CoreData/SQLite/StoreBackup.h"

#include <fcntl.h>

#include <cerrno>
#include <memory>
#include <string>

#include "CoreData/SQLite/Connection.h"
#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/SchemaCheck.h"
#include "CoreData/SQLite/StoreCopy.h"
#include "CoreData/SQLite/StoreFile.h"
#include "CoreData/SQLite/StoreMetadata.h"
#include "CoreData/SQLite/StoreOpening.h"
#include "Foundation/Internal/FileSystem.h"

namespace coredata {

using foundation::Error;
using foundation::URL;

namespace {

constexpr mode_t kForOwner = 0600;

/// A file in the making, removed unless it was kept.
class NewFile {
 public:
  explicit NewFile(std::string path) : path_(std::move(path)) {
    const auto made = foundation::FileDescriptor::open(AT_FDCWD, path_.c_str(),
                                                       O_WRONLY | O_CREAT | O_EXCL, kForOwner);
    if (made) return;
    if (made.error() == EEXIST)
      throw storeError(StoreErrorCode::exists, "There is something at " + path_ + " already.");
    throw fileError("The copy " + path_ + " cannot be made", made.error(), "open");
  }
  ~NewFile() {
    if (isKept_) return;
    const auto remove = [](const std::string& path) {
      // The failure that made the file useless is being thrown.
      [[maybe_unused]] const auto removed =
          foundation::FileSystem::current().unlink(AT_FDCWD, path.c_str(), 0);
    };
    remove(path_);
    for (const std::string_view companion : kCompanions) remove(path_ + std::string(companion));
  }
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  [[nodiscard]] const std::string& path() const noexcept { return path_; }
  void keep() noexcept { isKept_ = true; }

 private:
  const std::string path_;
  bool isKept_ = false;
};

void copyPages(const std::string& from, const std::string& to) {
  ConnectionSettings reading;
  reading.readOnly = true;
  Connection source(from, reading);
  Connection copy(to, ConnectionSettings());
  StoreCopy(source, copy).finish();
  // The copy of a store that keeps a log would keep one too, and would no longer be one file.
  copy.setKeepsLogFile(false);
  copy.execute("PRAGMA journal_mode=DELETE");
}

void requireSoundPages(Connection& connection, const std::string& path) {
  Statement check(connection, "PRAGMA integrity_check(1)");
  while (check.step()) {
    if (check.text(0) == "ok") continue;
    throw storeError(StoreErrorCode::damaged,
                     "The store " + path + " is damaged: " + std::string(check.text(0)));
  }
}

void requireModel(Connection& connection, const NSManagedObjectModel& model,
                  const std::string& path) {
  if (!model.isConfiguration(std::nullopt, readMetadata(connection))) {
    throw storeError(StoreErrorCode::incompatibleModel,
                     "The store " + path + " was written with another version of the model.");
  }
  const SchemaCheck check = checkSchema(connection, model);
  if (check.problem.empty()) return;
  throw storeError(StoreErrorCode::foreignSchema,
                   "The store " + path + " is not used: " + check.problem);
}

}  // namespace

void backUpStore(const URL& from, const URL& to) {
  const std::string source = pathOf(from);
  try {
    requireFile(source, false);
    NewFile copy(pathOf(to));
    copyPages(source, copy.path());
    syncDirectoryOf(copy.path());
    copy.keep();
  } catch (const Error& error) {
    throwMeaning(error, source);
  }
}

void requireSoundStore(const URL& at, const NSManagedObjectModel& model) {
  const std::string path = pathOf(at);
  try {
    const std::unique_ptr<Connection> connection = openForReading(path);
    connection->execute("PRAGMA cell_size_check=ON");
    requireModel(*connection, model, path);
    requireSoundPages(*connection, path);
  } catch (const Error& error) {
    throwMeaning(error, path);
  }
}

}  // namespace coredata
