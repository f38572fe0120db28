#include "Foundation/Values/Date.h"

#include <array>
#include <cmath>
#include <cstdio>

#include "Foundation/Internal/CivilDay.h"
#include "Foundation/Internal/Clock.h"

namespace foundation {

Date Date::now() { return Date(Clock::now()); }

std::string Date::description() const {
  // Beyond this nothing has a calendar day; it keeps the conversion below within the integers.
  constexpr double kFarthest = 1e15;
  if (!(std::abs(seconds_) <= kFarthest)) return std::to_string(seconds_) + " s";

  constexpr std::int64_t kDay = 86400;
  const auto seconds = static_cast<std::int64_t>(std::floor(seconds_)) +
                       static_cast<std::int64_t>(kSecondsFrom1970ToReference);
  const auto [days, time] = civil::floorDivide(seconds, kDay);
  const auto [year, month, day] = civilDay(days);
  // The years before 1 are printed as years of the era before.
  const long long printedYear = year > 0 ? year : 1 - year;

  std::array<char, 48> text{};
  const int length = std::snprintf(
      text.data(), text.size(), "%04lld-%02d-%02d %02d:%02d:%02d +0000", printedYear, month, day,
      static_cast<int>(time / 3600), static_cast<int>(time / 60 % 60), static_cast<int>(time % 60));
  return {text.data(), static_cast<std::size_t>(length)};
}

}  // namespace foundation
