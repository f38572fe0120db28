#include "CoreData/SQLite/StoreFile.h"

#include <fcntl.h>
#include <sqlite3.h>

#include <filesystem>
#include <memory>
#include <utility>

#include "CoreData/SQLite/SQLiteStoreError.h"

namespace coredata {

using foundation::Error;
using foundation::FileDescriptor;
using foundation::FileSystem;

std::optional<FileIdentity> FileIdentity::find(const std::string& path) {
  const auto status = statusOf(path);
  if (!status) return std::nullopt;
  return FileIdentity{status->st_dev, status->st_ino};
}

FileIdentity FileIdentity::of(const std::string& path) {
  if (const auto found = find(path)) return *found;
  throw storeError(StoreErrorCode::replaced, "The store file " + path + " is no longer there.");
}

Error fileError(std::string message, int number, const char* call) {
  return storeError(
      StoreErrorCode::notWritable, std::move(message),
      std::make_shared<Error>(std::string(foundation::kPosixErrorDomain), number, call));
}

bool saysBusy(const Error& error) {
  return error.domain() == foundation::kSQLiteErrorDomain && (error.code() & 0xff) == SQLITE_BUSY;
}

void throwMeaning(const Error& error, const std::string& path) {
  const auto say = [&](StoreErrorCode code, const std::string& text) {
    return storeError(code, text, error.clone());
  };
  if (error.domain() != foundation::kSQLiteErrorDomain) throw;
  switch (error.code() & 0xff) {
    case SQLITE_NOTADB:
      throw say(StoreErrorCode::notAStore, "The file " + path + " is not a store.");
    case SQLITE_CORRUPT:
      throw say(StoreErrorCode::damaged, "The store " + path + " is damaged.");
    case SQLITE_CANTOPEN:
    case SQLITE_PERM:
    case SQLITE_READONLY:
      throw say(StoreErrorCode::notWritable,
                "The store " + path +
                    " cannot be opened: its file, its directory and the files beside it must be "
                    "accessible.");
    case SQLITE_BUSY:
      throw say(StoreErrorCode::busy, "The store " + path + " is in use by another process.");
    default:
      throw;
  }
}

namespace {
bool isLink(const std::string& path) {
  const auto status = FileSystem::current().status(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW);
  if (!status && status.error() != ENOENT && status.error() != ENOTDIR) {
    // Under the link's own name the store would get a second log.
    throw fileError("The store " + path + " cannot be reached.", status.error(), "lstat");
  }
  return status && S_ISLNK(status->st_mode);
}
}  // namespace

std::string pathOf(const foundation::URL& url) {
  if (auto path = url.filePath()) {
    if (!isLink(*path)) return *path;
    std::error_code dangling;
    const std::filesystem::path target = std::filesystem::canonical(*path, dangling);
    return dangling ? *path : target.string();
  }
  throw storeError(StoreErrorCode::invalidOption,
                   "A store lies in a file, which " + url.absoluteString() + " does not name.");
}

std::optional<struct stat> statusOf(const std::string& path) {
  const auto status = FileSystem::current().status(AT_FDCWD, path.c_str(), 0);
  if (status) return *status;
  if (status.error() == ENOENT || status.error() == ENOTDIR) return std::nullopt;
  throw fileError("The store " + path + " cannot be reached.", status.error(), "stat");
}

std::string directoryOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

void createFile(const std::string& path) {
  FileSystem& files = FileSystem::current();
  const auto file =
      files.open(AT_FDCWD, path.c_str(), O_RDWR | O_CREAT | O_EXCL, S_IRUSR | S_IWUSR);
  if (file) return files.close(*file);
  if (file.error() == EEXIST) return;
  throw fileError("The file " + path + " cannot be made.", file.error(), "open");
}

void removeFile(const std::string& path) {
  const auto removed = FileSystem::current().unlink(AT_FDCWD, path.c_str(), 0);
  if (removed || removed.error() == ENOENT) return;
  throw fileError("The file " + path + " cannot be removed.", removed.error(), "unlink");
}

void syncDirectoryOf(const std::string& path) {
  const std::string directory = directoryOf(path);
  const auto opened = FileDescriptor::open(AT_FDCWD, directory.c_str(), O_RDONLY | O_DIRECTORY);
  if (!opened)
    throw fileError("The directory " + directory + " cannot be opened.", opened.error(), "open");
  if (const auto synced = FileSystem::current().sync(opened->get()); !synced)
    throw fileError("The directory " + directory + " cannot be synced.", synced.error(), "fsync");
}

void requireDirectoryOf(const std::string& path) {
  if (statusOf(directoryOf(path))) return;
  throw storeError(StoreErrorCode::missingDirectory,
                   "The directory of the store " + path + " does not exist.");
}

void requireFile(const std::string& path, bool mayCreate) {
  if (const auto status = statusOf(path)) {
    if (!S_ISREG(status->st_mode))
      throw storeError(StoreErrorCode::notAStore, path + " is not a file.");
    // SQLite takes a file of one byte for an empty one, and would write over it.
    if (status->st_size == 1)
      throw storeError(StoreErrorCode::notAStore, "The file " + path + " is not a store.");
    return;
  }
  requireDirectoryOf(path);
  if (!mayCreate) throw storeError(StoreErrorCode::missing, "There is no store " + path + ".");
  createFile(path);
}

}  // namespace coredata
