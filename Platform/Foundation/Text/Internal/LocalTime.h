#pragma once

#include <cmath>
#include <cstdint>

#include "Foundation/Values/Date.h"

namespace foundation {

inline constexpr std::int64_t kSecondsPerDay = 86400;

/// The farthest instant that has a calendar day, in seconds from the reference date: about five
/// million years, where ICU ends too.
inline constexpr double kFarthestSeconds = 1.8e14;

/// An instant's whole seconds since 1970, rounded down. Dates farther off than `kFarthestSeconds`
/// count as that far; what is no number counts as the reference date.
[[nodiscard]] inline std::int64_t wholeSeconds(const Date& date) noexcept {
  double seconds = date.timeIntervalSinceReferenceDate();
  if (!(std::abs(seconds) <= kFarthestSeconds)) {
    seconds = std::isnan(seconds) ? 0 : std::copysign(kFarthestSeconds, seconds);
  }
  // Rounded before it is counted from 1970: near midnight the sum of both could round up into the
  // next day.
  auto whole = static_cast<std::int64_t>(seconds);
  if (seconds < static_cast<double>(whole)) --whole;
  return whole + static_cast<std::int64_t>(Date::kSecondsFrom1970ToReference);
}

/// The date that lies so many whole seconds after 1970.
[[nodiscard]] constexpr Date dateOf(std::int64_t secondsSince1970) noexcept {
  return Date::fromReference(static_cast<double>(
      secondsSince1970 - static_cast<std::int64_t>(Date::kSecondsFrom1970ToReference)));
}

}  // namespace foundation
