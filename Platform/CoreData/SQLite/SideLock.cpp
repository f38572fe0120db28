#include "CoreData/SQLite/SideLock.h"

#include <fcntl.h>

namespace coredata {

using foundation::FileDescriptor;

namespace {
bool setLock(int file, short type) noexcept {
  // The lock of an open file description: unlike a process's, it also keeps other stores of this
  // process out, and closing some other descriptor of the file does not drop it.
  struct flock lock {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  return fcntl(file, F_OFD_SETLK, &lock) == 0;
}
}  // namespace

bool SideLock::openFile() noexcept {
  if (file_) return true;
  auto opened = FileDescriptor::open(AT_FDCWD, path_.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW,
                                     S_IRUSR | S_IWUSR);
  if (!opened) return false;
  file_ = std::move(*opened);
  return true;
}

SideLock::Guard SideLock::tryLock() noexcept {
  const std::scoped_lock lock(mutex_);
  if (isHeld_ || !openFile() || !setLock(file_.get(), F_WRLCK)) return {};
  isHeld_ = true;
  return Guard(*this);
}

void SideLock::unlock() noexcept {
  const std::scoped_lock lock(mutex_);
  setLock(file_.get(), F_UNLCK);
  isHeld_ = false;
}

}  // namespace coredata
