#include "Foundation/Internal/FileLock.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <thread>

namespace foundation {

namespace {

/// 0, or the error number.
int tryLock(int file) noexcept {
  // The lock of an open file description: unlike a process's, it also keeps other holders of this
  // process out, and closing some other descriptor of the file does not drop it.
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  if (::fcntl(file, F_OFD_SETLK, &lock) == 0) return 0;
  return errno == EACCES ? EAGAIN : errno;
}

}  // namespace

FileResult<FileLock> FileLock::take(FileDescriptor file, std::chrono::milliseconds limit) {
  using Steady = std::chrono::steady_clock;
  constexpr std::chrono::milliseconds kLongestPause{50};
  const auto end = Steady::now() + limit;
  // The system's own waiting knows no limit.
  for (std::chrono::milliseconds pause{1};; pause = std::min(2 * pause, kLongestPause)) {
    const int failed = tryLock(file.get());
    if (failed == 0) return FileLock(std::move(file));
    if (failed != EAGAIN || Steady::now() >= end) return std::unexpected(failed);
    std::this_thread::sleep_for(pause);
  }
}

}  // namespace foundation
