#include "Foundation/Queues/Internal/MainQueueState.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <string_view>
#include <system_error>
#include <utility>

#include "Foundation/Queues/GlobalQueue.h"
#include "Foundation/Queues/Internal/AsynchronousBlock.h"
#include "Foundation/Queues/Internal/OfProcess.h"
#include "Foundation/Values/FatalError.h"

namespace foundation {

namespace {

void reportToErrorStream() {
  constexpr std::string_view kText =
      "The main queue has work that has been waiting for seconds, and nobody runs it: call "
      "runMainQueue() or drainMainQueue() on the main thread.\n";
  // A closed error stream is no reason to fail.
  [[maybe_unused]] const auto written = ::write(STDERR_FILENO, kText.data(), kText.size());
}

}  // namespace

/// The time in which the main thread runs blocks.
class MainQueueState::Serving {
 public:
  explicit Serving(MainQueueState& state) : state_(state), lock_(state.mutex_) {
    if (state_.isServing_) fatalError("a block of the main queue runs the main queue");
    state_.isServing_ = true;
    state_.wasEverServed_ = true;
    state_.served_.notify_all();
  }
  Serving(const Serving&) = delete;
  Serving& operator=(const Serving&) = delete;
  ~Serving() { state_.isServing_ = false; }

  [[nodiscard]] Lock& lock() noexcept { return lock_; }

 private:
  MainQueueState& state_;
  Lock lock_;
};

MainQueueState& MainQueueState::shared() { return OfProcess<MainQueueState>::get(); }

void MainQueueState::enqueue(Block block) {
  Lock lock(mutex_);
  const auto arrival = Clock::now();
  if (!wasEverServed_ && !isWatched_ && !hasReported_) startWatch(arrival);
  waiting_.push_back({std::move(block), arrival});
  if (waiting_.size() == 1) signalDescriptor();
  arrived_.notify_one();
  if (noteStarvation()) report(lock);
}

void MainQueueState::enqueueAndWait(Block block) {
  std::condition_variable ended;
  bool hasEnded = false;
  enqueue([&] {
    block();
    const std::scoped_lock guard(mutex_);
    hasEnded = true;
    // With the mutex held: the variable lies on the stack of the thread that this wakes.
    ended.notify_one();
  });
  Lock lock(mutex_);
  const auto isOver = [&] { return hasEnded; };
  while (!ended.wait_for(lock, patience_, isOver)) {
    if (noteStarvation()) {
      report(lock);
      lock.lock();
    }
  }
}

std::size_t MainQueueState::serve(bool stays) {
  Serving serving(*this);
  std::size_t count = 0;
  for (;;) {
    if (stays && std::exchange(mustStop_, false)) return count;
    if (serveOne(serving.lock())) {
      ++count;
    } else if (stays) {
      arrived_.wait(serving.lock(), [this] { return mustStop_ || !waiting_.empty(); });
    } else {
      return count;
    }
  }
}

bool MainQueueState::serveOne(Lock& lock) {
  if (waiting_.empty()) return false;
  {
    Block block = std::move(waiting_.front().block);
    waiting_.pop_front();
    if (waiting_.empty()) clearDescriptor();
    lock.unlock();
    runAsynchronousBlock(block);
  }
  lock.lock();
  return true;
}

void MainQueueState::stop() {
  const Lock lock(mutex_);
  mustStop_ = true;
  arrived_.notify_one();
}

int MainQueueState::eventDescriptor() {
  const Lock lock(mutex_);
  if (descriptor_ < 0) {
    descriptor_ = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (descriptor_ < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
    if (!waiting_.empty()) signalDescriptor();
  }
  return descriptor_;
}

// Neither of the two can fail: the counter is 0 before the one and 1 before the other.
void MainQueueState::signalDescriptor() const noexcept {
  if (descriptor_ >= 0) ::eventfd_write(descriptor_, 1);
}

void MainQueueState::clearDescriptor() const noexcept {
  std::uint64_t count = 0;
  if (descriptor_ >= 0) ::eventfd_read(descriptor_, &count);
}

void MainQueueState::watchForStarvation(Clock::duration patience, std::function<void()> report) {
  const Lock lock(mutex_);
  patience_ = patience;
  report_ = std::move(report);
  hasReported_ = false;
}

/// The first work is watched by a worker, for it may be the only one. A queue that has been served
/// once is looked at when more work comes.
void MainQueueState::startWatch(Clock::time_point arrival) {
  try {
    GlobalQueue::userInitiated().async([this, deadline = arrival + patience_] { watch(deadline); });
    isWatched_ = true;
  } catch (const std::exception&) {
    // Without a thread to watch it the queue works all the same.
  }
}

void MainQueueState::watch(Clock::time_point deadline) {
  Lock lock(mutex_);
  served_.wait_until(lock, deadline, [this] { return wasEverServed_; });
  isWatched_ = false;
  if (noteStarvation()) report(lock);
}

/// With the mutex held: whether the first in the queue has waited too long, and nobody was told
/// yet.
bool MainQueueState::noteStarvation() noexcept {
  if (hasReported_ || isServing_ || waiting_.empty()) return false;
  hasReported_ = Clock::now() - waiting_.front().arrival >= patience_;
  return hasReported_;
}

/// Leaves the mutex unlocked: whoever is told may use the queue.
void MainQueueState::report(Lock& lock) {
  const auto tell = report_;
  lock.unlock();
  tell ? tell() : reportToErrorStream();
}

}  // namespace foundation
