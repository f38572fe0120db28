#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Tests/Support/DiskSpace.h"
#include "Tests/Support/FileOperation.h"
#include "Tests/Support/ForwardingFileSystem.h"

namespace support {

/// What happens to an operation on files.
enum class FileFault : std::uint8_t {
  failOnce,
  failFromThenOn,
  killProcess,
  tearOnce,     ///< a write does its beginning and fails; anything else fails
  tearAndKill,  ///< a write does its beginning and the process dies; so it does at anything else
};

/// The system's file system, in force while it lives, with one fault at the n-th operation that
/// counts: unless told otherwise, at each that changes something.
///
/// Run an operation for n = 1, 2, 3, ... until `wasReached()` is false: then every change it makes
/// has been hit once.
///
/// Threading: for tests that touch files on one thread.
class FaultyFileSystem final : public ForwardingFileSystem {
 public:
  /// Counts the changes and lets all of them pass.
  FaultyFileSystem() : FaultyFileSystem(FileFault::failOnce, 0, 0) {}
  /// `point` counts from 1; `error` is what a failing call answers.
  FaultyFileSystem(FileFault fault, std::size_t point, int error,
                   FileOperations watched = kMutating);

  /// The paths of all files and directories that were opened.
  [[nodiscard]] const std::vector<std::string>& opened() const noexcept { return opened_; }
  /// How many operations that count there were.
  [[nodiscard]] std::size_t count() const noexcept { return count_; }
  [[nodiscard]] bool wasReached() const noexcept { return point_ != 0 && count_ >= point_; }
  /// How much of a write is done that is torn, rounded down to whole sectors.
  void setTornBytes(std::size_t bytes) noexcept { tornBytes_ = bytes; }
  /// Counts anew, with the fault at that point; 0 for none.
  void restart(std::size_t point) noexcept {
    count_ = 0;
    point_ = point;
  }
  /// From now on what files grow by is taken from there; ENOSPC once it is used up. It must outlive
  /// this.
  void setSpace(DiskSpace* space) noexcept { space_ = space; }

  foundation::FileResult<int> open(int directory, const char* path, int flags,
                                   mode_t mode) override;
  foundation::FileResult<std::size_t> read(int file, std::span<std::uint8_t> bytes) override;
  foundation::FileResult<std::size_t> write(int file, std::span<const std::uint8_t> bytes) override;
  foundation::FileResult<void> truncate(int file, off_t size) override;
  foundation::FileResult<void> sync(int file) override;
  foundation::FileResult<void> rename(int fromDirectory, const char* from, int toDirectory,
                                      const char* to) override;
  foundation::FileResult<void> unlink(int directory, const char* path, int flags) override;
  foundation::FileResult<void> makeDirectory(int directory, const char* path, mode_t mode) override;
  foundation::FileResult<void> touch(int directory, const char* path) override;
  foundation::FileResult<struct stat> status(int directory, const char* path, int flags) override;
  foundation::FileResult<std::vector<std::string>> list(int directory) override;
  foundation::FileResult<std::uint64_t> availableBytes(int file) override;

  /// From now on every file system has this much room.
  void setAvailableBytes(std::uint64_t bytes) noexcept { availableBytes_ = bytes; }

 private:
  /// Counts an operation; the error that it is to fail with, if it is.
  [[nodiscard]] std::optional<int> errorOf(FileOperation operation);
  /// What comes of an operation that hits the fault.
  [[nodiscard]] std::optional<int> errorAtFault(FileOperation operation);
  [[nodiscard]] foundation::FileResult<std::size_t> writeBeginning(
      int file, std::span<const std::uint8_t> bytes, int error);
  template <typename Call>
  auto doing(FileOperation operation, Call call) -> decltype(call());
  /// How many of so many bytes there is room for at a file's position.
  [[nodiscard]] std::size_t roomFor(int file, std::size_t bytes);
  void giveBack(std::int64_t bytes);

  FileFault fault_;
  std::size_t point_;
  int error_;
  FileOperations watched_;
  std::size_t tornBytes_ = 0;
  std::size_t count_ = 0;
  DiskSpace* space_ = nullptr;
  std::vector<std::string> opened_;
  std::optional<std::uint64_t> availableBytes_;
};

}  // namespace support
