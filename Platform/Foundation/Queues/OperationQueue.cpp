#include "Foundation/Queues/OperationQueue.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

#include "Foundation/Queues/Internal/AsynchronousBlock.h"
#include "Foundation/Queues/Internal/WorkerPool.h"
#include "Foundation/Queues/MainQueue.h"
#include "Foundation/Values/FatalError.h"

namespace foundation {

/// Shared with its runners: an operation may drop the last handle to its own queue.
struct OperationQueue::State {
  std::mutex mutex;
  std::condition_variable finished;
  // Guarded by mutex.
  std::deque<Block> waiting;
  int runners = 0;
  int maximum = kDefaultMaxConcurrentOperationCount;

  [[nodiscard]] int limit() const noexcept {
    if (maximum != kDefaultMaxConcurrentOperationCount) return maximum;
    return std::max(2, static_cast<int>(std::thread::hardware_concurrency()));
  }
};

/// One of the workers that empty a queue, at most as many as operations may run at a time.
class OperationQueue::Runner final : public Job {
 public:
  /// With the state's mutex held. Throws what keeps a runner from starting.
  static void start(const std::shared_ptr<State>& state) {
    std::unique_ptr<Runner> runner(new Runner(state));
    WorkerPool::shared().prepare();
    ++state->runners;
    WorkerPool::shared().submit(*runner.release());
  }

  /// The queue whose operation the calling thread is running.
  static const State*& current() {
    thread_local const State* state = nullptr;
    return state;
  }

  void run() noexcept override {
    const std::unique_ptr<Runner> self(this);
    const State* outer = std::exchange(current(), state_.get());
    std::unique_lock lock(state_->mutex);
    while (!state_->waiting.empty() && state_->runners <= state_->limit()) {
      {
        Block operation = std::move(state_->waiting.front());
        state_->waiting.pop_front();
        lock.unlock();
        runAsynchronousBlock(operation);
      }
      lock.lock();
    }
    --state_->runners;
    if (state_->runners == 0 && state_->waiting.empty()) state_->finished.notify_all();
    current() = outer;
  }

 private:
  explicit Runner(std::shared_ptr<State> state) : state_(std::move(state)) {}

  std::shared_ptr<State> state_;
};

OperationQueue::OperationQueue() : state_(std::make_shared<State>()) {}

OperationQueue::~OperationQueue() = default;

void OperationQueue::setMaxConcurrentOperationCount(int count) {
  if (count < 1 && count != kDefaultMaxConcurrentOperationCount) {
    fatalError("a queue runs at least one operation at a time");
  }
  const std::scoped_lock guard(state_->mutex);
  state_->maximum = count;
  const int wanted =
      std::min(state_->limit() - state_->runners, static_cast<int>(state_->waiting.size()));
  for (int started = 0; started < wanted; ++started) Runner::start(state_);
}

int OperationQueue::maxConcurrentOperationCount() const {
  const std::scoped_lock guard(state_->mutex);
  return state_->maximum;
}

void OperationQueue::addOperation(Block operation) {
  const std::scoped_lock guard(state_->mutex);
  // The runner first: it finds the operation as soon as the mutex is free, or, if there is no
  // memory for the operation, nothing to do.
  if (state_->runners < state_->limit()) Runner::start(state_);
  state_->waiting.push_back(std::move(operation));
}

void OperationQueue::waitUntilAllOperationsAreFinished() {
  if (Runner::current() == state_.get()) {
    fatalError("an operation waits for its own queue to finish");
  }
  std::unique_lock lock(state_->mutex);
  state_->finished.wait(lock, [&] { return state_->runners == 0 && state_->waiting.empty(); });
}

namespace {

class MainOperationQueue final : public OperationQueue {
 public:
  void setMaxConcurrentOperationCount(int) override {}
  [[nodiscard]] int maxConcurrentOperationCount() const override { return 1; }
  void addOperation(Block operation) override { MainQueue::async(std::move(operation)); }
  void waitUntilAllOperationsAreFinished() override {
    if (MainQueue::isMainThread()) {
      drainMainQueue();
    } else {
      MainQueue::sync([] {});
    }
  }
};

}  // namespace

const Ref<OperationQueue>& OperationQueue::main() {
  // Never destroyed: operations may be added while the process ends.
  static const auto& queue = *new Ref<OperationQueue>(make<MainOperationQueue>());
  return queue;
}

}  // namespace foundation
