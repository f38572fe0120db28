#pragma once

#include <compare>
#include <cstddef>
#include <functional>
#include <string>

namespace foundation {

/// A point in time: seconds since 2001-01-01 00:00:00 UTC, as one double. All 64 bits are kept
/// wherever a date is stored, because what comes "after" a remembered date is decided by comparing
/// bits.
class Date {
 public:
  /// Seconds from 1970-01-01 to 2001-01-01, both 00:00:00 UTC.
  static constexpr double kSecondsFrom1970ToReference = 978307200.0;

  /// The reference date itself. Use `now()` for the clock.
  constexpr Date() noexcept = default;
  [[nodiscard]] static constexpr Date fromReference(double seconds) noexcept {
    return Date(seconds);
  }
  [[nodiscard]] static constexpr Date from1970(double seconds) noexcept {
    return Date(seconds - kSecondsFrom1970ToReference);
  }
  /// The clock's reading; each call reads it anew.
  [[nodiscard]] static Date now();
  /// 0001-01-01 00:00:00 UTC in the calendar that is Julian before 1582-10-15.
  [[nodiscard]] static constexpr Date distantPast() noexcept { return Date(-63114076800.0); }
  [[nodiscard]] static constexpr Date distantFuture() noexcept { return Date(63113904000.0); }

  [[nodiscard]] constexpr double timeIntervalSinceReferenceDate() const noexcept {
    return seconds_;
  }
  [[nodiscard]] constexpr double timeIntervalSince1970() const noexcept {
    return seconds_ + kSecondsFrom1970ToReference;
  }
  [[nodiscard]] constexpr Date addingTimeInterval(double seconds) const noexcept {
    return Date(seconds_ + seconds);
  }

  /// "yyyy-MM-dd HH:mm:ss +0000": always UTC, Latin digits, whole seconds (fractions dropped),
  /// Julian before 1582-10-15; independent of the locale.
  [[nodiscard]] std::string description() const;

  friend constexpr auto operator<=>(const Date&, const Date&) noexcept = default;

 private:
  constexpr explicit Date(double seconds) noexcept : seconds_(seconds) {}
  double seconds_ = 0;
};

}  // namespace foundation

template <>
struct std::hash<foundation::Date> {
  std::size_t operator()(const foundation::Date& date) const noexcept {
    return std::hash<double>{}(date.timeIntervalSinceReferenceDate());
  }
};
