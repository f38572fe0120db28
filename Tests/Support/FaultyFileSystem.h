#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Tests/Support/ForwardingFileSystem.h"

namespace support {

/// What happens to a call that changes files.
enum class FileFault { failOnce, failFromThenOn, killProcess };

/// The system's file system, in force while it lives, with one fault at the n-th call that changes
/// something: creating or emptying a file, writing, truncating, syncing, renaming, unlinking,
/// making a directory, touching.
///
/// Run an operation for n = 1, 2, 3, ... until `wasReached()` is false: then every change it makes
/// has been hit once.
///
/// Threading: for tests that touch files on one thread.
class FaultyFileSystem final : public ForwardingFileSystem {
 public:
  /// Counts the changes and lets all of them pass.
  FaultyFileSystem() : FaultyFileSystem(FileFault::failOnce, 0, 0) {}
  /// `change` counts from 1; `error` is what a failing call answers.
  FaultyFileSystem(FileFault fault, std::size_t change, int error);

  /// The paths of all files and directories that were opened.
  [[nodiscard]] const std::vector<std::string>& opened() const noexcept { return opened_; }
  [[nodiscard]] std::size_t changes() const noexcept { return changes_; }
  [[nodiscard]] bool wasReached() const noexcept { return change_ != 0 && changes_ >= change_; }

  foundation::FileResult<int> open(int directory, const char* path, int flags,
                                   mode_t mode) override;
  foundation::FileResult<std::size_t> write(int file, std::span<const std::uint8_t> bytes) override;
  foundation::FileResult<void> truncate(int file, off_t size) override;
  foundation::FileResult<void> sync(int file) override;
  foundation::FileResult<void> rename(int fromDirectory, const char* from, int toDirectory,
                                      const char* to) override;
  foundation::FileResult<void> unlink(int directory, const char* path, int flags) override;
  foundation::FileResult<void> makeDirectory(int directory, const char* path, mode_t mode) override;
  foundation::FileResult<void> touch(int directory, const char* path) override;
  foundation::FileResult<std::uint64_t> availableBytes(int file) override;

  /// From now on every file system has this much room.
  void setAvailableBytes(std::uint64_t bytes) noexcept { availableBytes_ = bytes; }

 private:
  /// Counts a change; the error that it is to fail with, if it is.
  [[nodiscard]] std::optional<int> countChange();
  template <typename Call>
  auto changing(Call call) -> decltype(call());

  FileFault fault_;
  std::size_t change_;
  int error_;
  std::size_t changes_ = 0;
  std::vector<std::string> opened_;
  std::optional<std::uint64_t> availableBytes_;
};

}  // namespace support
