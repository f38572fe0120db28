#include "CoreData/SQLite/PageCopy.h"

#include <sqlite3.h>

#include <memory>

#include "CoreData/SQLite/InheritedFiles.h"
#include "CoreData/SQLite/StoreFile.h"
#include "CoreData/SQLite/StoreVFS.h"
#include "Foundation/Values/Error.h"

namespace coredata {

namespace {

foundation::Error failure(int result) {
  return {std::string(foundation::kSQLiteErrorDomain), result,
          std::string("The pages cannot be copied: ") + sqlite3_errstr(result)};
}

struct Closing {
  void operator()(sqlite3* database) const noexcept { sqlite3_close_v2(database); }
};
using Database = std::unique_ptr<sqlite3, Closing>;

/// A connection that is told nothing: every setting would have SQLite read the schema first.
Database opened(const std::string& path) {
  constexpr int kFlags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE;
  sqlite3* handle = nullptr;
  keepInheritedFilesApart();
  const int result = sqlite3_open_v2(path.c_str(), &handle, kFlags, storeVFS());
  Database database(handle);
  if (result != SQLITE_OK) throw failure(result);
  return database;
}

}  // namespace

void copyPages(const std::string& from, const std::string& to) {
  createFile(to);
  const Database source = opened(from);
  const Database copy = opened(to);
  // The new file has no schema yet that could be in disorder.
  const int set = sqlite3_exec(copy.get(), "PRAGMA synchronous=OFF; PRAGMA journal_mode=OFF",
                               nullptr, nullptr, nullptr);
  if (set != SQLITE_OK) throw failure(set);
  sqlite3_backup* const backup = sqlite3_backup_init(copy.get(), "main", source.get(), "main");
  if (backup == nullptr) throw failure(sqlite3_extended_errcode(copy.get()));
  const int stepped = sqlite3_backup_step(backup, -1);
  const int finished = sqlite3_backup_finish(backup);
  if (stepped != SQLITE_DONE) throw failure(stepped);
  if (finished != SQLITE_OK) throw failure(finished);
}

}  // namespace coredata
