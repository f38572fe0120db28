#pragma once

#include <sqlite3.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace support {

/// What SQLite does to files, as far as a fault can be put there.
enum class FileOperation : std::uint8_t {
  open,    ///< opening a file that exists
  create,  ///< opening a file that did not exist
  read,
  write,
  sync,
  truncate,
  remove,
  lock,        ///< on the main file
  mapShared,   ///< a page of the shared memory
  lockShared,  ///< a lock in the shared memory
};

/// A set of operations, bit n for operation n.
using FileOperations = std::uint32_t;
[[nodiscard]] constexpr FileOperations bit(FileOperation operation) noexcept {
  return FileOperations{1} << static_cast<unsigned>(operation);
}
/// Everything that leaves a trace on the disk or in the shared memory.
inline constexpr FileOperations kMutating =
    bit(FileOperation::create) | bit(FileOperation::write) | bit(FileOperation::sync) |
    bit(FileOperation::truncate) | bit(FileOperation::remove) | bit(FileOperation::mapShared);
inline constexpr FileOperations kEverything = ~FileOperations{0};

/// A SQLite file layer over the system's own that counts what passes through it, and makes the n-th
/// operation fail or the process die before it. Registered under a name of its own while it lives;
/// a store uses it under a `StoreVFSOverride` of that name.
///
/// Threading: use it on any thread.
class FaultVFS {
 public:
  FaultVFS();
  ~FaultVFS();
  FaultVFS(const FaultVFS&) = delete;
  FaultVFS& operator=(const FaultVFS&) = delete;

  [[nodiscard]] const char* name() const noexcept { return name_.c_str(); }

  struct Record {
    FileOperation operation;
    /// The part of the file's name behind the store's: "", "-wal", "-shm", "-journal".
    std::string file;
    std::int64_t offset = 0;
    std::int64_t size = 0;
  };

  /// Starts counting anew, with no fault, and forgets what was recorded.
  void reset();
  /// Which operations count; all others pass unseen. The mutating ones at first.
  void watch(FileOperations operations);
  /// The n-th operation from the last reset on, counted from 1, answers `code`; with `persistent`
  /// all later ones too.
  void failAt(std::size_t n, int code, bool persistent = false);
  /// Before the n-th operation the process gets SIGKILL.
  void killAt(std::size_t n);
  /// Before the n-th operation `action` is called, once; what it does itself does not come here
  /// again.
  void callAt(std::size_t n, std::function<void()> action);
  /// From now on no time passes while SQLite waits for a lock: it soon gives up.
  void skipWaits() noexcept { skipsWaits_ = true; }
  /// From now on `action` is called whenever SQLite is about to wait for a lock. To be called while
  /// no store is open through it.
  void callBeforeWaits(std::function<void()> action) { beforeWaits_ = std::move(action); }

  /// From now on nothing waits for the disk. For tests of many stores, whose machine stays alive.
  void skipSyncs() noexcept { skipsSyncs_ = true; }

  [[nodiscard]] std::size_t count() const;
  [[nodiscard]] bool faultWasReached() const;
  [[nodiscard]] std::vector<Record> records() const;

 private:
  friend struct FaultVFSCalls;
  /// Counts the operation; the code that it is to answer, or SQLITE_OK.
  [[nodiscard]] int note(FileOperation operation, const char* path, std::int64_t offset = 0,
                         std::int64_t size = 0);

  enum class Fault : std::uint8_t { none, fail, failFromThenOn, kill, call };

  sqlite3_vfs vfs_{};
  sqlite3_vfs* system_;
  std::string name_;
  mutable std::mutex mutex_;
  std::vector<Record> records_;
  FileOperations watched_ = kMutating;
  Fault fault_ = Fault::none;
  std::size_t faultAt_ = 0;
  int code_ = SQLITE_OK;
  std::function<void()> action_;
  std::function<void()> beforeWaits_;
  std::atomic<bool> skipsWaits_{false};
  std::atomic<bool> skipsSyncs_{false};
};

}  // namespace support
