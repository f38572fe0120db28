#pragma once

#include <chrono>
#include <utility>

#include "Foundation/Internal/FileSystem.h"

namespace foundation {

/// An advisory lock on a whole file, between processes and between its holders in one process. It
/// is given back when it goes, or when its process ends in whatever way.
///
/// Threading: safe on any thread.
class FileLock {
 public:
  /// Takes the lock of a file that was opened for writing, waiting for it as long as `limit`;
  /// `EAGAIN` when somebody still has it then.
  [[nodiscard]] static FileResult<FileLock> take(FileDescriptor file,
                                                 std::chrono::milliseconds limit);

 private:
  explicit FileLock(FileDescriptor file) noexcept : file_(std::move(file)) {}

  // Closing it gives the lock back.
  FileDescriptor file_;
};

}  // namespace foundation
