#include "CoreData/SQLite/ForkGeneration.h"

#include <pthread.h>

#include <atomic>

namespace coredata {

namespace {
std::atomic<std::uint64_t> forkCount{0};

void countFork() { forkCount.fetch_add(1, std::memory_order_relaxed); }
}  // namespace

std::uint64_t forkGeneration() noexcept {
  // Registering can only fail for want of memory, and then forks go unnoticed as they would without
  // it.
  static const int registered = pthread_atfork(nullptr, nullptr, countFork);
  static_cast<void>(registered);
  return forkCount.load(std::memory_order_relaxed);
}

}  // namespace coredata
