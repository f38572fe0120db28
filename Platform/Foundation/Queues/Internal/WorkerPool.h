#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>

namespace foundation {

/// Work for the pool. It is linked into the pool's list itself, so that handing it over needs no
/// memory and cannot fail.
class Job {
 public:
  Job() = default;
  Job(const Job&) = delete;
  Job& operator=(const Job&) = delete;
  virtual ~Job() = default;

  /// Called once a submission, on a worker; may end the job's own life.
  virtual void run() noexcept = 0;

 private:
  friend class WorkerPool;
  Job* next_ = nullptr;
};

/// The threads on which all queues run what nobody runs himself. It grows while every worker is
/// busy, so that jobs that wait for each other do not stop it, and shrinks again when they are
/// idle.
///
/// Workers block the signals that come from outside: those belong to the program's own threads.
/// Nothing is joined at exit.
class WorkerPool {
 public:
  /// The process's pool. Lives to the end of the process, static destructors included: workers may
  /// be busy while it ends. A forked child has a pool of its own, without its parent's jobs.
  [[nodiscard]] static WorkerPool& shared();

  /// Makes sure that there is a worker at all. Throws `std::system_error` when the system gives
  /// none.
  void prepare();
  /// Runs the job as soon as a worker is free, jobs in the order in which they came. `prepare` must
  /// have returned before. The job must live until it is run.
  void submit(Job& job) noexcept;

 private:
  template <typename T>
  friend class OfProcess;

  WorkerPool();
  ~WorkerPool() = default;

  void startWorker();
  void startWorkerIfPossible() noexcept;
  void work() noexcept;
  /// The next job, or null when the worker is one too many and has been idle for long.
  Job* awaitJob(std::unique_lock<std::mutex>& lock) noexcept;

  const unsigned keptWorkers_;
  std::atomic<bool> isPrepared_{false};

  std::mutex mutex_;
  std::condition_variable arrived_;
  // Guarded by mutex_.
  Job* first_ = nullptr;
  Job* last_ = nullptr;
  unsigned waitingJobs_ = 0;
  unsigned workers_ = 0;
  unsigned idleWorkers_ = 0;
};

}  // namespace foundation
