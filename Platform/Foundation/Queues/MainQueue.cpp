#include "Foundation/Queues/MainQueue.h"

#include <sys/types.h>
#include <unistd.h>

#include <atomic>
#include <exception>
#include <utility>

#include "Foundation/Queues/Internal/CurrentThread.h"
#include "Foundation/Queues/Internal/MainQueueState.h"
#include "Foundation/Values/FatalError.h"

namespace foundation {

namespace {

/// Null until a thread declares itself.
std::atomic<const void*> declaredMainThread{nullptr};

bool isFirstThread() noexcept {
  thread_local const bool isFirst = ::gettid() == ::getpid();
  return isFirst;
}

std::size_t serveMainQueue(bool stays) {
  if (!MainQueue::isMainThread()) fatalError("the main queue runs on the main thread only");
  return MainQueueState::shared().serve(stays);
}

}  // namespace

void MainQueue::declareMainThread() noexcept {
  declaredMainThread.store(currentThread(), std::memory_order_relaxed);
}

bool MainQueue::isMainThread() noexcept {
  const void* declared = declaredMainThread.load(std::memory_order_relaxed);
  return declared == nullptr ? isFirstThread() : declared == currentThread();
}

void MainQueue::async(Block block) { MainQueueState::shared().enqueue(std::move(block)); }

void MainQueue::sync(FunctionRef<void()> block) {
  if (isMainThread()) return block();
  std::exception_ptr thrown;
  MainQueueState::shared().enqueueAndWait([&] {
    try {
      block();
    } catch (...) {
      thrown = std::current_exception();
    }
  });
  if (thrown != nullptr) std::rethrow_exception(std::move(thrown));
}

int MainQueue::eventDescriptor() { return MainQueueState::shared().eventDescriptor(); }

void runMainQueue() { serveMainQueue(true); }

void stopMainQueue() { MainQueueState::shared().stop(); }

std::size_t drainMainQueue() { return serveMainQueue(false); }

}  // namespace foundation
