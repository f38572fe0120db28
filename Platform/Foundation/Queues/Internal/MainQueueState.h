#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>

#include "Foundation/Queues/Block.h"

namespace foundation {

/// What the main queue holds, and whether anybody runs it.
class MainQueueState {
 public:
  using Clock = std::chrono::steady_clock;
  using Lock = std::unique_lock<std::mutex>;

  MainQueueState() = default;
  MainQueueState(const MainQueueState&) = delete;
  MainQueueState& operator=(const MainQueueState&) = delete;

  /// The process's one. Lives to the end of the process: blocks may be enqueued while it ends. A
  /// forked child has one of its own, which begins empty.
  [[nodiscard]] static MainQueueState& shared();

  void enqueue(Block block);
  /// Enqueues the block and returns after it ran.
  void enqueueAndWait(Block block);
  /// Runs blocks until none waits, or, when asked to stay, until `stop`. Returns how many it ran.
  std::size_t serve(bool stays);
  void stop();
  [[nodiscard]] int eventDescriptor();

  /// How long work may wait with nobody to run it, and who is told, once, when it waits longer.
  /// What was reported before does not count. An empty `report` writes the line for people.
  void watchForStarvation(Clock::duration patience, std::function<void()> report = {});

 private:
  class Serving;

  bool serveOne(Lock& lock);
  void startWatch(Clock::time_point arrival);
  void watch(Clock::time_point deadline);
  bool noteStarvation() noexcept;
  void report(Lock& lock);
  void signalDescriptor() const noexcept;
  void clearDescriptor() const noexcept;

  struct Entry {
    Block block;
    Clock::time_point arrival;
  };

  std::mutex mutex_;
  std::condition_variable arrived_;
  std::condition_variable served_;
  // Guarded by mutex_.
  std::deque<Entry> waiting_;
  bool isServing_ = false;
  bool mustStop_ = false;
  int descriptor_ = -1;
  bool wasEverServed_ = false;
  bool isWatched_ = false;
  bool hasReported_ = false;
  Clock::duration patience_ = std::chrono::seconds(5);
  /// Empty for the line on the standard error stream.
  std::function<void()> report_;
};

}  // namespace foundation
