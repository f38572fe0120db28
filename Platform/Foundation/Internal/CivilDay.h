#pragma once

#include <cstdint>

namespace foundation {

/// A day of the calendar that is Julian before 1582-10-15 and Gregorian from then on. Years count
/// through zero: 0 is the year before 1.
struct CivilDay {
  std::int64_t year;
  int month;
  int day;

  friend constexpr bool operator==(const CivilDay&, const CivilDay&) = default;
};

/// 1582-10-15, counted in days from 1970-01-01.
inline constexpr std::int64_t kGregorianCutover = -141427;

namespace civil {

struct Quotient {
  std::int64_t quotient;
  std::int64_t remainder;
};
/// Division that rounds down, so that the remainder is never negative.
constexpr Quotient floorDivide(std::int64_t value, std::int64_t divisor) noexcept {
  const std::int64_t quotient = value / divisor - (value % divisor < 0 ? 1 : 0);
  return {quotient, value - quotient * divisor};
}

// Years are reckoned from the first of March: the leap day comes last, and the months' lengths
// follow one formula.

constexpr std::int64_t dayOfMarchYear(int month, std::int64_t day) noexcept {
  return (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
}

constexpr std::int64_t gregorianDays(std::int64_t year, int month, std::int64_t day) noexcept {
  const auto [era, yearOfEra] = floorDivide(month <= 2 ? year - 1 : year, 400);
  return era * 146097 + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 +
         dayOfMarchYear(month, day) - 719468;
}

constexpr std::int64_t julianDays(std::int64_t year, int month, std::int64_t day) noexcept {
  const auto [era, yearOfEra] = floorDivide(month <= 2 ? year - 1 : year, 4);
  return era * 1461 + yearOfEra * 365 + dayOfMarchYear(month, day) - 719470;
}

constexpr CivilDay fromMarchYear(std::int64_t year, std::int64_t dayOfYear) noexcept {
  const auto shifted = static_cast<int>((5 * dayOfYear + 2) / 153);
  const int day = static_cast<int>(dayOfYear - (153 * shifted + 2) / 5) + 1;
  const int month = shifted < 10 ? shifted + 3 : shifted - 9;
  return {month <= 2 ? year + 1 : year, month, day};
}

constexpr CivilDay gregorianDay(std::int64_t days) noexcept {
  const auto [era, dayOfEra] = floorDivide(days + 719468, 146097);
  const std::int64_t yearOfEra =
      (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  return fromMarchYear(yearOfEra + era * 400, dayOfYear);
}

/// As `gregorianDay` in less time, for the days of two million years from the first of March of
/// year 0.
///
/// After C. Neri and L. Schneider, "Euclidean affine functions and their application to calendar
/// algorithms", Software: Practice and Experience 53 (2023): each division is a multiplication of
/// 32-bit numbers.
constexpr CivilDay nearGregorianDay(std::int64_t days) noexcept {
  const auto sinceYear0 = static_cast<std::uint32_t>(days + 719468);
  const std::uint32_t quarters = 4 * sinceYear0 + 3;
  const std::uint32_t century = quarters / 146097;
  const std::uint64_t yearOfCentury = std::uint64_t{2939745} * (quarters % 146097 | 3);
  const std::uint32_t dayOfYear = static_cast<std::uint32_t>(yearOfCentury) / 2939745 / 4;
  const std::uint32_t year = 100 * century + static_cast<std::uint32_t>(yearOfCentury >> 32);
  const std::uint32_t monthAndDay = 2141 * dayOfYear + 197913;
  const bool isNextYear = dayOfYear >= 306;
  const auto month = static_cast<int>(monthAndDay >> 16);
  return {std::int64_t{year} + (isNextYear ? 1 : 0), isNextYear ? month - 12 : month,
          static_cast<int>((monthAndDay & 0xffff) / 2141) + 1};
}

constexpr CivilDay julianDay(std::int64_t days) noexcept {
  const auto [era, dayOfEra] = floorDivide(days + 719470, 1461);
  const std::int64_t yearOfEra = (dayOfEra - dayOfEra / 1460) / 365;
  return fromMarchYear(yearOfEra + era * 4, dayOfEra - 365 * yearOfEra);
}

}  // namespace civil

/// The day that lies `days` after 1970-01-01.
[[nodiscard]] constexpr CivilDay civilDay(std::int64_t days) noexcept {
  return days >= kGregorianCutover ? civil::gregorianDay(days) : civil::julianDay(days);
}

/// How many days after 1970-01-01 a day lies. The month must be one of twelve; days that the month
/// does not have count on into the next, or back into the previous one.
[[nodiscard]] constexpr std::int64_t daysFromCivil(std::int64_t year, int month,
                                                   std::int64_t day) noexcept {
  // A year decides which reckoning is tried first; a result on the other side of the cutover asks
  // for the other.
  const bool isGregorianYear = year >= 1582;
  const std::int64_t days = isGregorianYear ? civil::gregorianDays(year, month, day)
                                            : civil::julianDays(year, month, day);
  if ((days >= kGregorianCutover) == isGregorianYear) return days;
  return isGregorianYear ? civil::julianDays(year, month, day)
                         : civil::gregorianDays(year, month, day);
}

static_assert(civilDay(0) == CivilDay{1970, 1, 1});
static_assert(civilDay(kGregorianCutover) == CivilDay{1582, 10, 15});
static_assert(civilDay(kGregorianCutover - 1) == CivilDay{1582, 10, 4});
static_assert(daysFromCivil(1, 1, 1) == -719164);

}  // namespace foundation
