#pragma once

#include <sqlite3.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "Tests/Support/DiskSpace.h"
#include "Tests/Support/FileOperation.h"

namespace support {

/// The code by which SQLite's own file layer says that the operation failed.
[[nodiscard]] int codeOf(FileOperation operation) noexcept;

/// A SQLite file layer over the system's own that counts what passes through it, and makes the n-th
/// operation fail or the process die before it. Registered under a name of its own while it lives;
/// a store uses it under a `StoreVFSOverride` of that name.
///
/// Threading: use it on any thread.
class FaultVFS {
 public:
  FaultVFS();
  /// Waits for files to be closed that are open through it: whoever drops a store last closes it,
  /// on whatever thread. Ends the process when one stays open.
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
  /// What a failing operation answers with: the code that belongs to it.
  static constexpr int kCodeOfOperation = SQLITE_OK;
  /// The n-th operation from the last reset on, counted from 1, answers `code`; with `persistent`
  /// all later ones too.
  void failAt(std::size_t n, int code, bool persistent = false);
  /// The n-th operation, a write, does its first `bytes`, rounded down to whole sectors, and
  /// answers `code`. Any other operation only answers it.
  void tearAt(std::size_t n, int bytes, int code);
  /// The same, but the process gets SIGKILL there.
  void tearAndKillAt(std::size_t n, int bytes);
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

  /// From now on nothing waits for the disk, which says that it has done what it has not. For tests
  /// of many stores, whose machine stays alive.
  void skipSyncs() noexcept { skipsSyncs_ = true; }
  /// From now on each operation that counts takes that much longer.
  void delay(std::chrono::microseconds time) noexcept { delay_ = time; }
  /// From now on what files grow by is taken from there; SQLITE_FULL once it is used up. It must
  /// outlive this.
  void setSpace(DiskSpace* space) noexcept { space_ = space; }

  [[nodiscard]] std::size_t count() const;
  [[nodiscard]] bool faultWasReached() const;
  [[nodiscard]] std::vector<Record> records() const;

 private:
  friend struct FaultVFSCalls;
  /// What is to come of an operation.
  struct Verdict {
    /// What it answers without being done; SQLITE_OK for one that is done.
    int code = SQLITE_OK;
    /// How much of a write is done before it answers.
    int writtenBytes = 0;
    /// Whether the process ends then.
    bool isLast = false;
  };
  enum class Fault : std::uint8_t { none, fail, failFromThenOn, kill, call, tear, tearAndKill };

  /// Counts the operation.
  [[nodiscard]] Verdict judge(FileOperation operation, const char* path, std::int64_t offset = 0,
                              std::int64_t size = 0);
  [[nodiscard]] bool hits(std::size_t number) const noexcept;
  void setFault(Fault fault, std::size_t at, int code = SQLITE_OK);

  sqlite3_vfs vfs_{};
  sqlite3_vfs* system_;
  std::string name_;
  mutable std::mutex mutex_;
  std::vector<Record> records_;
  FileOperations watched_ = kMutating;
  Fault fault_ = Fault::none;
  std::size_t faultAt_ = 0;
  int code_ = SQLITE_OK;
  int tornBytes_ = 0;
  std::function<void()> action_;
  std::function<void()> beforeWaits_;
  std::atomic<bool> skipsWaits_{false};
  std::atomic<bool> skipsSyncs_{false};
  std::atomic<std::chrono::microseconds> delay_{};
  std::atomic<DiskSpace*> space_{nullptr};
  std::atomic<int> openFiles_{0};
};

}  // namespace support
