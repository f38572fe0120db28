#include "Foundation/Queues/SerialLane.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <utility>
#include <variant>

#include "Foundation/Queues/Internal/AsynchronousBlock.h"
#include "Foundation/Queues/Internal/CurrentThread.h"
#include "Foundation/Queues/Internal/WorkerPool.h"

// A lane is one word that says whether somebody has the turn. Who finds it free takes it with one
// exchange and gives it back with another; only who finds it taken goes through the mutex and the
// queue. A turn that somebody waits for is never set free: it is handed to the first in the queue,
// so that nobody overtakes.

namespace foundation {

namespace {

/// A thread that waits for its turn to run its own block.
struct Waiter {
  std::condition_variable granted;
  bool hasTurn = false;
};

enum class Turn : std::uint32_t {
  free,
  taken,
  /// Taken, and the queue is not empty. Entered and left with the mutex held.
  awaited,
};

}  // namespace

/// Shared with its run on the pool: a block may destroy its own lane.
struct SerialLane::State final : Job, std::enable_shared_from_this<State> {
  std::atomic<Turn> turn{Turn::free};
  std::atomic<const void*> owner{nullptr};
  std::mutex mutex;
  // Guarded by mutex.
  std::deque<std::variant<Block, Waiter*>> queue;
  // These two belong to the turn while it lies with the pool.
  Block poolBlock;
  std::shared_ptr<State> keptForPool;

  void enter() {
    Turn expected = Turn::free;
    if (!turn.compare_exchange_strong(expected, Turn::taken, std::memory_order_acquire,
                                      std::memory_order_relaxed)) {
      awaitTurn();
    }
    owner.store(currentThread(), std::memory_order_relaxed);
  }

  void leave() noexcept {
    owner.store(nullptr, std::memory_order_relaxed);
    if (setFree()) return;
    std::unique_lock lock(mutex);
    if (passOn()) handToPool();
  }

  bool setFree() noexcept {
    Turn expected = Turn::taken;
    return turn.compare_exchange_strong(expected, Turn::free, std::memory_order_release,
                                        std::memory_order_relaxed);
  }

  /// With the mutex held: takes a free turn, or tells who has it that somebody comes to wait.
  bool takeOrAnnounce() noexcept {
    Turn seen = turn.load(std::memory_order_relaxed);
    while (seen != Turn::awaited) {
      const Turn next = seen == Turn::free ? Turn::taken : Turn::awaited;
      if (turn.compare_exchange_weak(seen, next, std::memory_order_acquire,
                                     std::memory_order_relaxed)) {
        return next == Turn::taken;
      }
    }
    return false;
  }

  void awaitTurn() {
    std::unique_lock lock(mutex);
    Waiter waiter;
    queue.emplace_back(&waiter);
    if (takeOrAnnounce()) {
      queue.pop_back();
      return;
    }
    waiter.granted.wait(lock, [&] { return waiter.hasTurn; });
  }

  /// With the mutex held and the turn awaited: hands the turn to the first in the queue. True when
  /// that is a block, which then lies in `poolBlock`.
  bool passOn() noexcept {
    auto next = std::move(queue.front());
    queue.pop_front();
    if (queue.empty()) turn.store(Turn::taken, std::memory_order_relaxed);
    if (Waiter** waiter = std::get_if<Waiter*>(&next)) {
      (*waiter)->hasTurn = true;
      // With the mutex held: the waiter lies on its thread's stack, and is gone once that thread
      // wakes.
      (*waiter)->granted.notify_one();
      return false;
    }
    poolBlock = std::move(std::get<Block>(next));
    return true;
  }

  void handToPool() noexcept {
    keptForPool = shared_from_this();
    WorkerPool::shared().submit(*this);
  }

  void run() noexcept override {
    const std::shared_ptr<State> self = std::move(keptForPool);
    do {
      owner.store(currentThread(), std::memory_order_relaxed);
      runAsynchronousBlock(poolBlock);
      poolBlock = nullptr;
      owner.store(nullptr, std::memory_order_relaxed);
    } while (!setFree() && takeNextBlock());
  }

  bool takeNextBlock() noexcept {
    const std::scoped_lock guard(mutex);
    return passOn();
  }
};

SerialLane::SerialLane() : state_(std::make_shared<State>()) {}

SerialLane::~SerialLane() = default;

void SerialLane::perform(Block block) {
  WorkerPool::shared().prepare();
  const std::scoped_lock guard(state_->mutex);
  state_->queue.emplace_back(std::move(block));
  if (!state_->takeOrAnnounce()) return;
  state_->poolBlock = std::move(std::get<Block>(state_->queue.back()));
  state_->queue.pop_back();
  state_->handToPool();
}

void SerialLane::performAndWait(FunctionRef<void()> block) {
  if (isCurrent()) return block();
  struct Visit {
    State& state;
    explicit Visit(State& entered) : state(entered) { state.enter(); }
    Visit(const Visit&) = delete;
    Visit& operator=(const Visit&) = delete;
    ~Visit() { state.leave(); }
  };
  const Visit visit(*state_);
  block();
}

bool SerialLane::isCurrent() const noexcept {
  return state_->owner.load(std::memory_order_relaxed) == currentThread();
}

}  // namespace foundation
