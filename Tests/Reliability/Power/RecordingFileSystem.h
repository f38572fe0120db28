#pragma once

#include "Tests/Reliability/Power/DiskOperation.h"
#include "Tests/Support/ForwardingFileSystem.h"

namespace power {

/// The system's file system, in force while it lives, which also writes down what is changed on the
/// disk. Syncs are not made. The times of files are no part of it.
///
/// Threading: for tests that touch files on one thread.
class RecordingFileSystem final : public support::ForwardingFileSystem {
 public:
  explicit RecordingFileSystem(DiskRecorder& recorder) : recorder_(recorder) {}

  foundation::FileResult<int> open(int directory, const char* path, int flags,
                                   mode_t mode) override;
  foundation::FileResult<std::size_t> write(int file, std::span<const std::uint8_t> bytes) override;
  foundation::FileResult<void> truncate(int file, off_t size) override;
  foundation::FileResult<void> sync(int file) override;
  foundation::FileResult<void> rename(int fromDirectory, const char* from, int toDirectory,
                                      const char* to) override;
  foundation::FileResult<void> unlink(int directory, const char* path, int flags) override;
  foundation::FileResult<void> makeDirectory(int directory, const char* path, mode_t mode) override;

 private:
  DiskRecorder& recorder_;
};

}  // namespace power
