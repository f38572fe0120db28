#include "Benchmarks/Cost.h"

#include <ctime>

namespace benchmarks {

namespace {

double secondsOf(clockid_t clock) noexcept {
  timespec time{};
  clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

}  // namespace

Cost costOf(const std::function<void()>& block) {
  const double processor = secondsOf(CLOCK_PROCESS_CPUTIME_ID);
  const double elapsed = secondsOf(CLOCK_MONOTONIC);
  block();
  return {secondsOf(CLOCK_MONOTONIC) - elapsed, secondsOf(CLOCK_PROCESS_CPUTIME_ID) - processor};
}

}  // namespace benchmarks
