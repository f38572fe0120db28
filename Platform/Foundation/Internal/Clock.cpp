#include "Foundation/Internal/Clock.h"

#include <time.h>

#include <atomic>

namespace foundation {

namespace {

constexpr long kReferenceSeconds = 978307200;
std::atomic<const Clock*> installedClock{nullptr};

double systemSeconds() noexcept {
  timespec reading{};
  ::clock_gettime(CLOCK_REALTIME, &reading);
  return static_cast<double>(reading.tv_sec - kReferenceSeconds) +
         static_cast<double>(reading.tv_nsec) * 1e-9;
}

}  // namespace

double Clock::now() noexcept {
  // Whoever installs a clock does so before it starts the threads that read it: nothing else is
  // ordered by this.
  const Clock* clock = installedClock.load(std::memory_order_relaxed);
  return clock == nullptr ? systemSeconds() : clock->secondsSinceReference();
}

const Clock* Clock::install(const Clock* clock) noexcept {
  return installedClock.exchange(clock, std::memory_order_relaxed);
}

}  // namespace foundation
