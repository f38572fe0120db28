#pragma once

namespace foundation {

/// Where the time comes from. The system's clock unless a test installed another.
///
/// Readings are seconds since 2001-01-01 00:00:00 UTC: a double this close to its zero resolves
/// about a tenth of a microsecond, twice as fine as one counted from 1970.
class Clock {
 public:
  virtual ~Clock() = default;
  [[nodiscard]] virtual double secondsSinceReference() const noexcept = 0;

  /// The reading of the clock in force. Any thread; without an installed clock it costs what the
  /// system's does.
  [[nodiscard]] static double now() noexcept;

 protected:
  friend class ManualClock;
  /// Puts `clock` in force, null the system's, and returns what was.
  static const Clock* install(const Clock* clock) noexcept;
};

}  // namespace foundation
