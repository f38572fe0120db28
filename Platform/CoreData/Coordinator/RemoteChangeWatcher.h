#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <thread>

#include "CoreData/SQLite/SQLiteStore.h"

namespace coredata {

/// How long the watcher waits, and for what.
struct WatchTimings {
  /// Between two announcements. Without it each of this process's own saves would cost a wake.
  std::chrono::steady_clock::duration rest = std::chrono::milliseconds(4);
  /// How long somebody who writes to the log may take to ring, before the watcher looks by itself.
  std::chrono::steady_clock::duration logPatience = std::chrono::milliseconds(20);
  /// Between two looks without an event, for what nobody told.
  std::chrono::steady_clock::duration poll = std::chrono::seconds(3);
  /// The same where the system tells of no events, or a commit seems to be under way.
  std::chrono::steady_clock::duration quickPoll = std::chrono::milliseconds(250);
  /// Between two looks at a store that cannot be read, at most.
  std::chrono::steady_clock::duration longestBackoff = std::chrono::seconds(60);
};

/// Watches an open store, on a thread of its own, for commits by whomever: other processes, other
/// coordinators, this one.
///
/// - Whatever is committed after the transaction from which it counts is announced; of commits that
///   are close to one another the last one always. Those from before this was made
///   are found by a look soon afterwards.
/// - What commits nothing, such as reads and checkpoints, is never announced.
/// - A store that was replaced is announced once more, for the last time. One that cannot be read
///   is looked at again, ever more seldom. The standard error stream gets a line about either.
///
/// Threading: made and ended on any thread.
class RemoteChangeWatcher {
 public:
  /// Called on the watcher's thread with the number of the newest transaction; none where the store
  /// keeps no history. What it throws is reported, and the watch goes on.
  using Announce = std::function<void(std::optional<std::int64_t>)>;

  /// `since` is the number of a transaction that is no news any more. A store without a history
  /// knows of none, and counts from when this is made.
  ///
  /// Throws `foundation::Error` when such a store cannot be read, and `std::system_error` when the
  /// process has no thread or descriptor left.
  RemoteChangeWatcher(const foundation::Ref<SQLiteStore>& store, std::int64_t since,
                      Announce announce, WatchTimings timings = {});
  /// Announces nothing any more, and returns when an announcement that is being made has been made.
  /// On the watcher's own thread, out of an announcement, it does not wait for that. In a child of
  /// the process that made it, where the thread is not, it does nothing.
  ~RemoteChangeWatcher();
  RemoteChangeWatcher(const RemoteChangeWatcher&) = delete;
  RemoteChangeWatcher& operator=(const RemoteChangeWatcher&) = delete;

 private:
  class Watch;

  const std::uint64_t forkGeneration_;
  /// Shared with the thread, which outlives this when it ends this.
  std::shared_ptr<Watch> watch_;
  std::unique_ptr<std::thread> thread_;
};

}  // namespace coredata
