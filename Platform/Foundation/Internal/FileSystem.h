#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <expected>
#include <span>
#include <string>
#include <vector>

namespace foundation {

/// What a call to the file system gives: its result, or the system's error number.
template <typename T>
using FileResult = std::expected<T, int>;

/// The calls by which anything but SQLite touches files, each one system call: the place where
/// tests make the n-th change fail or the process die before it.
///
/// Paths may be relative to a directory's descriptor (`AT_FDCWD` for the working directory), so
/// that a directory swapped for a link cannot redirect what follows. Descriptors are always opened
/// close-on-exec. Interrupted calls are made again.
///
/// Threading: safe on any thread.
class FileSystem {
 public:
  virtual ~FileSystem() = default;

  /// The one in force: the system's, unless a test installed another.
  [[nodiscard]] static FileSystem& current() noexcept;

  [[nodiscard]] virtual FileResult<int> open(int directory, const char* path, int flags,
                                             mode_t mode = 0) = 0;
  /// Reads at most the span's size; 0 at the end.
  [[nodiscard]] virtual FileResult<std::size_t> read(int file, std::span<std::uint8_t> bytes) = 0;
  /// May write less than asked for.
  [[nodiscard]] virtual FileResult<std::size_t> write(int file,
                                                      std::span<const std::uint8_t> bytes) = 0;
  [[nodiscard]] virtual FileResult<void> truncate(int file, off_t size) = 0;
  /// Makes a file's content, or a directory's entries, survive a loss of power.
  [[nodiscard]] virtual FileResult<void> sync(int file) = 0;
  [[nodiscard]] virtual FileResult<void> rename(int fromDirectory, const char* from,
                                                int toDirectory, const char* to) = 0;
  /// `flags` as for `unlinkat`.
  [[nodiscard]] virtual FileResult<void> unlink(int directory, const char* path, int flags) = 0;
  [[nodiscard]] virtual FileResult<void> makeDirectory(int directory, const char* path,
                                                       mode_t mode) = 0;
  /// Sets both times of a file to now.
  [[nodiscard]] virtual FileResult<void> touch(int directory, const char* path) = 0;
  /// `flags` as for `fstatat`; with `AT_EMPTY_PATH` and an empty path, the descriptor's own.
  [[nodiscard]] virtual FileResult<struct stat> status(int directory, const char* path,
                                                       int flags) = 0;
  /// The names in a directory in the system's order, hidden ones too, without "." and "..".
  [[nodiscard]] virtual FileResult<std::vector<std::string>> list(int directory) = 0;
  /// Tells mounts apart: equal for what lies on one, also where one file system is mounted twice.
  [[nodiscard]] virtual FileResult<std::uint64_t> mount(int file) = 0;
  /// What this user may still write on the file system of a file or directory.
  [[nodiscard]] virtual FileResult<std::uint64_t> availableBytes(int file) = 0;
  /// A descriptor from which the events of the files it watches are read, as of `inotify`; reading
  /// from it never waits.
  [[nodiscard]] virtual FileResult<int> openWatcher() = 0;
  /// Has a file watched for `events`, and gives the number that its events bear. A file that is
  /// watched already keeps its number.
  [[nodiscard]] virtual FileResult<int> watch(int watcher, const char* path,
                                              std::uint32_t events) = 0;
  virtual void close(int file) noexcept = 0;

  /// The system's own, whatever is in force.
  [[nodiscard]] static FileSystem& system() noexcept;

 protected:
  /// Puts `fileSystem` in force, null the system's, and returns what was.
  static FileSystem* install(FileSystem* fileSystem) noexcept;
};

/// An open descriptor, closed when its owner goes.
class FileDescriptor {
 public:
  FileDescriptor() noexcept = default;
  explicit FileDescriptor(int descriptor) noexcept : descriptor_(descriptor) {}
  FileDescriptor(FileDescriptor&& other) noexcept : descriptor_(other.release()) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept;
  ~FileDescriptor() { reset(); }

  /// Opens a path, with the error number when that fails.
  [[nodiscard]] static FileResult<FileDescriptor> open(int directory, const char* path, int flags,
                                                       mode_t mode = 0);

  [[nodiscard]] int get() const noexcept { return descriptor_; }
  explicit operator bool() const noexcept { return descriptor_ >= 0; }
  [[nodiscard]] int release() noexcept;
  void reset() noexcept;

 private:
  int descriptor_ = -1;
};

/// What follows in an open file, or the number of the call that failed; `EFBIG` for more than
/// `limit`.
[[nodiscard]] FileResult<std::vector<std::uint8_t>> readAll(int file, std::size_t limit);
/// A file's whole content, or the number of the call that failed; `EFBIG` for a file longer than
/// `limit`.
[[nodiscard]] FileResult<std::vector<std::uint8_t>> readFile(int directory, const char* path,
                                                             std::size_t limit);
/// Makes a directory and those above it that are missing; `ENOTDIR` where something else is in the
/// way.
[[nodiscard]] FileResult<void> makeDirectories(const std::string& path, mode_t mode);
/// Writes all the bytes, in as many calls as it takes.
[[nodiscard]] FileResult<void> writeAll(int file, std::span<const std::uint8_t> bytes);

}  // namespace foundation
