#pragma once

#include <cstdint>
#include <optional>

#include "Foundation/Internal/CivilDay.h"
#include "Foundation/Text/Internal/Environment.h"
#include "Foundation/Text/Internal/LocalTime.h"

namespace foundation {

// The road that needs no ICU: days of the Gregorian calendar in Latin digits.

/// Days from 1970 to the first of 1583 and to the first of 10000: years of four digits, all
/// Gregorian.
inline constexpr std::int64_t kFirstPlainDay = daysFromCivil(1583, 1, 1);
inline constexpr std::int64_t kEndOfPlainDays = daysFromCivil(10000, 1, 1);

/// The local day of a date; none when it cannot be written by arithmetic alone.
[[nodiscard]] inline std::optional<CivilDay> plainDay(const Environment& environment,
                                                      const Date& date) noexcept {
  if (!environment.isGregorian || !environment.hasLatinDigits) return std::nullopt;
  const std::int64_t instant = wholeSeconds(date);
  const std::int64_t local = instant + environment.zone->offsetAt(instant);
  const std::int64_t days = civil::floorDivide(local, kSecondsPerDay).quotient;
  if (days < kFirstPlainDay || days >= kEndOfPlainDays) return std::nullopt;
  return civil::nearGregorianDay(days);
}

}  // namespace foundation
