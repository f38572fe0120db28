#include "Foundation/Files/TemporaryDirectory.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "Foundation/Files/Internal/FileFailure.h"
#include "Foundation/Files/Internal/ProtectedPlaces.h"
#include "Foundation/Files/Internal/TreeRemoval.h"
#include "Foundation/Internal/FileLock.h"
#include "Foundation/Values/Error.h"

namespace foundation {

namespace {

using Code = TemporaryDirectoryErrorCode;

constexpr const char* kName = "tmp";
// Beside the directory, not in it: emptying must not take them away.
constexpr const char* kMarker = "tmp.may-be-emptied";
constexpr const char* kLock = "tmp.lock";

Error refusal(Code code, const std::string& path, const std::string& reason) {
  return Error(std::string(kCocoaErrorDomain), static_cast<std::int64_t>(code),
               "\"" + path + "\" is not used as the temporary directory: " + reason +
                   ". Nothing in it was changed.");
}

bool isMissing(const FileResult<struct stat>& status) {
  return !status && status.error() == ENOENT;
}

bool isMine(const struct stat& status) { return status.st_uid == ::geteuid(); }

/// Opens a directory that must not be a link.
FileDescriptor openedDirectory(int parent, const char* name, const std::string& path) {
  const auto status =
      required(FileSystem::current().status(parent, name, AT_SYMLINK_NOFOLLOW), path, "examined");
  if (S_ISLNK(status.st_mode))
    throw refusal(Code::symbolicLink, path, "it is, or lies behind, a symbolic link");
  if (!S_ISDIR(status.st_mode)) throw refusal(Code::notOurs, path, "it is not a directory");
  return required(FileDescriptor::open(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW), path,
                  "opened");
}

void requireOurs(const struct stat& status, mode_t forbidden, const std::string& path) {
  if (!isMine(status)) throw refusal(Code::notOurs, path, "it belongs to another user");
  if ((status.st_mode & forbidden) != 0)
    throw refusal(Code::notOurs, path, "it is open to other users");
}

FileDescriptor openedParent(const std::string& path) {
  FileDescriptor parent = openedDirectory(AT_FDCWD, path.c_str(), path);
  requireOurs(statusOf(parent, path), S_IWOTH, path);
  return parent;
}

void requireMarker(int parent, const std::string& path) {
  const auto marker = FileSystem::current().status(parent, kMarker, AT_SYMLINK_NOFOLLOW);
  if (marker && S_ISREG(marker->st_mode) && isMine(*marker)) return;
  throw refusal(Code::unmarked, path,
                "there is no marker \"" + std::string(kMarker) +
                    "\" beside it, so something else made it. Move it away to let a new one be "
                    "made");
}

FileDescriptor openedChild(int parent, const std::string& path) {
  FileDescriptor directory = openedDirectory(parent, kName, path);
  const auto status = statusOf(directory, path);
  if (const auto place = protectedPlaceIn(status))
    throw refusal(Code::protectedPlace, path, "it is or holds \"" + *place + "\"");
  requireOurs(status, S_IRWXG | S_IRWXO, path);
  requireMarker(parent, path);
  return directory;
}

void makeMarker(int parent, const std::string& path) {
  constexpr int kFlags = O_WRONLY | O_CREAT | O_NOFOLLOW;
  required(FileDescriptor::open(parent, kMarker, kFlags, kPrivateFile), path, "made");
}

/// Makes the directory if it is missing. The marker comes first: whoever finds a directory can rely
/// on its marker, also when its maker was killed between the two, or the power failed.
void makeMissingChild(int parent, const std::string& path) {
  FileSystem& files = FileSystem::current();
  if (!isMissing(files.status(parent, kName, AT_SYMLINK_NOFOLLOW))) return;
  makeMarker(parent, path);
  required(files.sync(parent), path, "made");
  const auto made = files.makeDirectory(parent, kName, kPrivateDirectory);
  if (!made && made.error() != EEXIST) throw fileFailure(made.error(), path, "made");
}

}  // namespace

TemporaryDirectory TemporaryDirectory::ofProcess() {
  return TemporaryDirectory(*Directories::current());
}

TemporaryDirectory::TemporaryDirectory(const Directories& directories)
    : parent_(directories.cacheDirectory()), path_(parent_ + "/" + kName) {
  if (isMissing(FileSystem::current().status(AT_FDCWD, parent_.c_str(), AT_SYMLINK_NOFOLLOW)))
    required(makeDirectories(parent_, kPrivateDirectory), parent_, "made");
  const FileDescriptor parent = openedParent(parent_);
  makeMissingChild(parent.get(), path_);
  openedChild(parent.get(), path_);
}

void TemporaryDirectory::requireApart(const URL& store) const {
  const auto path = store.filePath();
  if (!path) throw fileFailure(EINVAL, store.absoluteString(), "taken for a store's file");
  const FileDescriptor directory = openedChild(openedParent(parent_).get(), path_);
  const auto status = statusOf(directory, path_);
  const auto holder = store.deletingLastPathComponent().filePath();
  if (liesIn(*path, status) || (holder && liesIn(*holder, status)))
    throw refusal(Code::holdsStore, path_, "the store \"" + *path + "\" lies in it");
}

void TemporaryDirectory::removeContents(const URL& apartFromStore) const {
  requireApart(apartFromStore);
  const FileDescriptor directory = openedChild(openedParent(parent_).get(), path_);
  for (const std::string& name :
       required(FileSystem::current().list(directory.get()), path_, "read")) {
    removeTree(directory.get(), name, path_);
  }
}

struct TemporaryDirectory::Guard::State {
  FileLock lock;
};

TemporaryDirectory::Guard::Guard(std::unique_ptr<State> state) noexcept
    : state_(std::move(state)) {}
TemporaryDirectory::Guard::Guard(Guard&& other) noexcept = default;
TemporaryDirectory::Guard& TemporaryDirectory::Guard::operator=(Guard&& other) noexcept = default;
TemporaryDirectory::Guard::~Guard() = default;

TemporaryDirectory::Guard TemporaryDirectory::lock(std::chrono::milliseconds limit) const {
  constexpr int kFlags = O_RDWR | O_CREAT | O_NOFOLLOW;
  const std::string path = parent_ + "/" + kLock;
  auto file =
      required(FileDescriptor::open(openedParent(parent_).get(), kLock, kFlags, kPrivateFile), path,
               "opened");
  auto lock = FileLock::take(std::move(file), limit);
  if (!lock && lock.error() == EAGAIN) {
    throw Error(std::string(kCocoaErrorDomain), static_cast<std::int64_t>(Code::busy),
                "Another migration or restore has been using \"" + path_ + "\" for longer than " +
                    std::to_string(limit.count()) + " ms. Try again when it has ended.");
  }
  return Guard(std::make_unique<Guard::State>(required(std::move(lock), path, "locked")));
}

}  // namespace foundation
