#include "Foundation/Queues/Internal/WorkerPool.h"

#include <pthread.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <thread>
#include <utility>

#include "Foundation/Internal/SignalBlock.h"
#include "Foundation/Queues/Internal/OfProcess.h"

namespace foundation {

namespace {

/// More than any sensible program blocks at once; a stop for one that is not.
constexpr unsigned kMaximumWorkers = 64;
constexpr std::chrono::seconds kIdleTime{10};

}  // namespace

WorkerPool::WorkerPool() : keptWorkers_(std::max(2U, std::thread::hardware_concurrency())) {}

WorkerPool& WorkerPool::shared() { return OfProcess<WorkerPool>::get(); }

void WorkerPool::prepare() {
  if (isPrepared_.load(std::memory_order_acquire)) return;
  const std::scoped_lock guard(mutex_);
  if (workers_ == 0) startWorker();
  isPrepared_.store(true, std::memory_order_release);
}

void WorkerPool::submit(Job& job) noexcept {
  {
    const std::scoped_lock guard(mutex_);
    job.next_ = nullptr;
    (last_ == nullptr ? first_ : last_->next_) = &job;
    last_ = &job;
    ++waitingJobs_;
    // A worker counts as idle until it wakes: those idle are spoken for by the jobs that wait
    // already.
    if (waitingJobs_ > idleWorkers_) startWorkerIfPossible();
  }
  arrived_.notify_one();
}

void WorkerPool::startWorker() {
  const SignalBlock inherited;
  std::thread([this] { work(); }).detach();
  ++workers_;
}

void WorkerPool::startWorkerIfPossible() noexcept {
  if (workers_ >= kMaximumWorkers) return;
  try {
    startWorker();
  } catch (const std::exception&) {
    // There is one worker at least, and it will come to the job.
  }
}

void WorkerPool::work() noexcept {
  pthread_setname_np(pthread_self(), "queue worker");
  std::unique_lock lock(mutex_);
  while (Job* job = awaitJob(lock)) {
    lock.unlock();
    job->run();
    lock.lock();
  }
  --workers_;
}

Job* WorkerPool::awaitJob(std::unique_lock<std::mutex>& lock) noexcept {
  while (first_ == nullptr) {
    ++idleWorkers_;
    const auto woken = arrived_.wait_for(lock, kIdleTime);
    --idleWorkers_;
    const bool isOneTooMany = workers_ > keptWorkers_;
    if (woken == std::cv_status::timeout && first_ == nullptr && isOneTooMany) return nullptr;
  }
  Job* job = std::exchange(first_, first_->next_);
  if (first_ == nullptr) last_ = nullptr;
  --waitingJobs_;
  return job;
}

}  // namespace foundation
