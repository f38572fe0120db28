#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "CoreData/SQLite/SideLock.h"
#include "CoreData/SQLite/StoreFile.h"

namespace coredata {

class Connection;

/// Looks after the log that commits are appended to: when it is copied into the main file, and how
/// long the file is.
///
/// Checkpoints are made here and nowhere else. SQLite before 3.51.3 can lose commits when a
/// checkpoint and a restart of the log meet, so every checkpoint runs in a mode that keeps writers
/// out, one at a time under a lock file. When the store is not idle the checkpoint is put off;
/// nobody ever waits for it.
///
/// The file is kept grown: overwriting it costs one disk write a commit, extending it two.
///
/// Threading: by one thread at a time, the one inside the store's writer gate.
class WriteAheadLog {
 public:
  explicit WriteAheadLog(const std::string& storePath);

  /// Says that the store keeps a rollback journal instead; everything below then does nothing.
  void disable() noexcept { enabled_ = false; }

  /// Extends the file when the end of the log is near it. Inside a write transaction only, because
  /// nobody else may be writing to the file.
  void makeRoom(Connection& connection);
  /// Makes a checkpoint if the log has become long. After a commit.
  void committed(Connection& connection) noexcept;
  /// Copies the log into the main file and leaves it empty, as far as others let us. By the last
  /// connection to close.
  void fold(Connection& connection) noexcept;

  /// With which of SQLite's codes the last checkpoint failed, other than because somebody was using
  /// the store. The log goes on growing until one succeeds, and nothing is lost.
  [[nodiscard]] std::optional<int> lastFailure() const noexcept { return lastFailure_; }

  /// A log of this many pages is copied into the main file.
  static constexpr int kLongLogPages = 1000;

  /// Has shorter logs count as long, in stores that are opened while it lives.
  ///
  /// Threading: for tests, made and ended while no store is being opened.
  class LongLogOverride {
   public:
    explicit LongLogOverride(int pages) noexcept;
    ~LongLogOverride();
    LongLogOverride(const LongLogOverride&) = delete;
    LongLogOverride& operator=(const LongLogOverride&) = delete;

   private:
    int previous_;
  };

 private:
  [[nodiscard]] bool checkpoint(Connection& connection, int mode, int& pages) noexcept;
  void foldUnderLock(Connection& connection);
  [[nodiscard]] bool hasRoom() const noexcept;

  SideLock lock_;
  /// Pages in the log after our last commit; -1 when unknown.
  int pages_ = -1;
  /// The file's size when it was last looked at. Should somebody have cut it off since, saves
  /// extend it by themselves.
  std::int64_t seenSize_ = 0;
  const int longLogPages_;
  int nextCheckpointAt_ = longLogPages_;
  bool enabled_ = true;
  std::optional<int> lastFailure_;
};

}  // namespace coredata
