#include "Tools/habits/Day.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "Foundation/Text/DateFormatter.h"
#include "Foundation/Text/TimeZone.h"
#include "Tools/habits/Failures.h"

namespace habits {

using foundation::Date;
using foundation::TimeZone;

namespace {

constexpr double kHalfADay = 12 * 3600;

/// Seconds from 1970 to the same numbers on a clock that shows UTC.
double localSeconds(const Date& date) {
  return date.timeIntervalSince1970() +
         static_cast<double>(TimeZone::current().secondsFromGMT(date));
}

std::optional<int> number(std::string_view digits) {
  int value = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  const bool isWhole = error == std::errc() && end == digits.data() + digits.size();
  return isWhole && digits.front() != '-' ? std::optional(value) : std::nullopt;
}

/// The day that three groups of digits say, if there is one.
std::optional<Day> dayFrom(std::string_view years, std::string_view months, std::string_view days,
                           int century) {
  const auto year = number(years);
  const auto month = number(months);
  const auto day = number(days);
  if (!year || !month || !day || *year + century == 0) return std::nullopt;
  const Day result(std::chrono::year(*year + century),
                   std::chrono::month(static_cast<unsigned>(*month)),
                   std::chrono::day(static_cast<unsigned>(*day)));
  return result.ok() ? std::optional(result) : std::nullopt;
}

}  // namespace

Day dayOf(const Date& date) {
  const auto seconds = std::chrono::seconds(std::llround(std::floor(localSeconds(date))));
  return std::chrono::floor<std::chrono::days>(std::chrono::sys_seconds(seconds));
}

std::optional<Date> noonOf(const Day& day) {
  const std::chrono::seconds midnight = std::chrono::sys_days(day).time_since_epoch();
  const double noon = static_cast<double>(midnight.count()) + kHalfADay;
  // The offset at the instant that reads noon in UTC is the local day's, or a neighbour's; a second
  // look settles it.
  Date date = Date::from1970(noon);
  for (int look = 0; look < 2; ++look) {
    date = Date::from1970(noon - static_cast<double>(TimeZone::current().secondsFromGMT(date)));
  }
  return dayOf(date) == day ? std::optional(date) : std::nullopt;
}

std::optional<Day> plainDay(std::string_view text) {
  constexpr std::string_view kForm = "0000-00-00";
  if (text.size() != kForm.size() || text[4] != '-' || text[7] != '-') return std::nullopt;
  return dayFrom(text.substr(0, 4), text.substr(5, 2), text.substr(8), 0);
}

std::optional<Day> monthFirstDay(std::string_view text) {
  constexpr std::string_view kForm = "00/00/00";
  constexpr int kCentury = 2000;
  if (text.size() != kForm.size() || text[2] != '/' || text[5] != '/') return std::nullopt;
  return dayFrom(text.substr(6), text.substr(0, 2), text.substr(3, 2), kCentury);
}

Date dayArgument(const std::optional<std::string>& text) {
  if (!text) return Date::now();
  if (const auto day = plainDay(*text)) {
    if (const auto noon = noonOf(*day)) return *noon;
    throw UsageError("There was no " + *text + " in " + TimeZone::current().identifier() + ".");
  }
  const bool isPlain = std::ranges::all_of(*text, [](char c) { return (c & 0x80) == 0; });
  if (!isPlain) {
    if (const auto date = foundation::DateFormatter("yyyy-MM-dd").date(*text)) return *date;
  }
  throw UsageError("\"" + *text + "\" is no day; write it as YYYY-MM-DD, such as 2024-02-10.");
}

}  // namespace habits
