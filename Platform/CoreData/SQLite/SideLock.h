#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "Foundation/Internal/FileLock.h"

namespace coredata {

/// An advisory lock on a file of its own beside the store, between processes and between the stores
/// of one process. The store file itself is never opened for it: closing it would give SQLite's
/// locks away.
///
/// Threading: use it on any thread.
class SideLock {
 public:
  explicit SideLock(std::string path) : path_(std::move(path)) {}

  /// Held until it goes.
  using Guard = std::optional<foundation::FileLock>;

  /// Takes the lock if nobody has it. An empty guard also when the file cannot be made, as in a
  /// directory that is not ours: what the lock is for can wait.
  [[nodiscard]] Guard tryLock() const noexcept;
  /// Waits for whoever has the lock, an empty guard when that takes longer than `limit`. Throws
  /// when the file cannot be made.
  [[nodiscard]] Guard lock(std::chrono::milliseconds limit) const;
  /// Removes the file. For whoever holds the lock: those who wait for it notice that theirs is no
  /// longer the file of that name, and lock the next one. A file that stays is nobody's lock.
  void removeFile() const noexcept;

 private:
  [[nodiscard]] foundation::FileResult<foundation::FileLock> take(
      std::chrono::milliseconds limit) const;
  [[nodiscard]] bool isFileOfThatName(int file) const noexcept;

  const std::string path_;
};

}  // namespace coredata
