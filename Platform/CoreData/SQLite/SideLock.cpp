#include "CoreData/SQLite/SideLock.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>

#include "CoreData/SQLite/StoreFile.h"

namespace coredata {

using foundation::FileDescriptor;
using foundation::FileLock;
using foundation::FileResult;
using foundation::FileSystem;

bool SideLock::isFileOfThatName(int file) const noexcept {
  FileSystem& files = FileSystem::current();
  const auto own = files.status(file, "", AT_EMPTY_PATH);
  const auto named = files.status(AT_FDCWD, path_.c_str(), AT_SYMLINK_NOFOLLOW);
  return own && named && own->st_dev == named->st_dev && own->st_ino == named->st_ino;
}

FileResult<FileLock> SideLock::take(std::chrono::milliseconds limit) const {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point end = Clock::now() + limit;
  for (;;) {
    auto file = FileDescriptor::open(AT_FDCWD, path_.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW,
                                     S_IRUSR | S_IWUSR);
    if (!file) return std::unexpected(file.error());
    const int number = file->get();
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
    auto lock = FileLock::take(std::move(*file), std::max(left, std::chrono::milliseconds(0)));
    // Whoever had it may have removed the file, and the next to come would make another.
    if (!lock || isFileOfThatName(number)) return lock;
  }
}

SideLock::Guard SideLock::tryLock() const noexcept {
  auto lock = take(std::chrono::milliseconds(0));
  return lock ? Guard(std::move(*lock)) : Guard();
}

SideLock::Guard SideLock::lock(std::chrono::milliseconds limit) const {
  auto lock = take(limit);
  if (lock) return std::move(*lock);
  if (lock.error() == EAGAIN) return {};
  throw fileError("The file " + path_ + " cannot be locked.", lock.error(), "open");
}

void SideLock::removeFile() const noexcept {
  [[maybe_unused]] const auto removed = FileSystem::current().unlink(AT_FDCWD, path_.c_str(), 0);
}

}  // namespace coredata
