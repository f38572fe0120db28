#pragma once

#include <atomic>

#include "Foundation/Internal/Clock.h"

namespace foundation {

/// A clock that stands still until it is told to move, in force while it lives. Such clocks nest:
/// the inner one's end puts the outer one back.
///
/// Threading: made and ended on one thread while no other reads the time; setting and reading are
/// safe on any.
class ManualClock final : public Clock {
 public:
  explicit ManualClock(double secondsSinceReference = 0) noexcept
      : seconds_(secondsSinceReference), previous_(install(this)) {}
  ~ManualClock() override { install(previous_); }
  ManualClock(const ManualClock&) = delete;
  ManualClock& operator=(const ManualClock&) = delete;

  [[nodiscard]] double secondsSinceReference() const noexcept override { return seconds_.load(); }
  void set(double secondsSinceReference) noexcept { seconds_.store(secondsSinceReference); }
  /// Moves by so many seconds; a negative number steps back, as a corrected system clock does.
  void advance(double seconds) noexcept { seconds_.fetch_add(seconds); }

 private:
  std::atomic<double> seconds_;
  const Clock* previous_;
};

}  // namespace foundation
