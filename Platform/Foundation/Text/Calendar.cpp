#include "Foundation/Text/Calendar.h"

#include <array>

#include "Foundation/Internal/CivilDay.h"
#include "Foundation/Text/Internal/Environment.h"
#include "Foundation/Text/Internal/IcuCalendar.h"
#include "Foundation/Text/Internal/LocalTime.h"

namespace foundation {

namespace {

constexpr std::int64_t kFarthestYear = 5'000'000;
constexpr std::int64_t kGreatestField = 1'000'000'000;

constexpr bool isWithin(const std::optional<std::int64_t>& value, std::int64_t limit) {
  return !value || (*value >= -limit && *value <= limit);
}

bool isReachable(const DateComponents& components) {
  return isWithin(components.year, kFarthestYear) && isWithin(components.era, kFarthestYear) &&
         isWithin(components.month, kGreatestField) && isWithin(components.day, kGreatestField) &&
         isWithin(components.hour, kGreatestField) && isWithin(components.minute, kGreatestField) &&
         isWithin(components.second, kGreatestField);
}

/// The eras of the Gregorian calendar, as ICU numbers them.
constexpr std::int64_t kBeforeChrist = 0;
constexpr std::int64_t kAnnoDomini = 1;

void readGregorianDay(std::int64_t days, DateComponents& into) {
  const CivilDay civil = civilDay(days);
  into.era = civil.year > 0 ? kAnnoDomini : kBeforeChrist;
  into.year = civil.year > 0 ? civil.year : 1 - civil.year;
  into.month = civil.month;
  into.day = civil.day;
}

std::int64_t gregorianDay(const DateComponents& components) {
  const std::int64_t written = components.year.value_or(1);
  const std::int64_t year = components.era == kBeforeChrist ? 1 - written : written;
  const auto [years, month] = civil::floorDivide(components.month.value_or(1) - 1, 12);
  return daysFromCivil(year + years, static_cast<int>(month) + 1, components.day.value_or(1));
}

std::int64_t secondsOfTime(const DateComponents& components) {
  return components.hour.value_or(0) * 3600 + components.minute.value_or(0) * 60 +
         components.second.value_or(0);
}

}  // namespace

Calendar Calendar::current() { return Calendar(currentEnvironment()); }

bool Calendar::setCurrent(std::string_view identifier) {
  if (!identifier.empty() && !isCalendarIdentifier(identifier)) return false;
  changeEnvironment({.calendar = std::string(identifier)});
  return true;
}

const std::string& Calendar::identifier() const noexcept {
  return environment_->calendarIdentifier;
}

DateComponents Calendar::dateComponents(const Date& date) const {
  const std::int64_t instant = wholeSeconds(date);
  const auto [days, time] =
      civil::floorDivide(instant + environment_->zone->offsetAt(instant), kSecondsPerDay);
  DateComponents result;
  if (environment_->isGregorian) {
    readGregorianDay(days, result);
  } else {
    readIcuDay(*environment_, days, result);
  }
  result.hour = time / 3600;
  result.minute = time / 60 % 60;
  result.second = time % 60;
  // 1970-01-01 was a Thursday.
  result.weekday = civil::floorDivide(days + 4, 7).remainder + 1;
  return result;
}

std::optional<Date> Calendar::date(const DateComponents& components) const {
  if (!isReachable(components)) return std::nullopt;
  const std::int64_t day =
      environment_->isGregorian ? gregorianDay(components) : icuDay(*environment_, components);
  return dateOf(environment_->zone->instantOf(day * kSecondsPerDay + secondsOfTime(components)));
}

Date Calendar::startOfDay(const Date& date) const noexcept {
  const std::int64_t instant = wholeSeconds(date);
  const std::int64_t local = instant + environment_->zone->offsetAt(instant);
  return dateOf(environment_->zone->instantOf(civil::floorDivide(local, kSecondsPerDay).quotient *
                                              kSecondsPerDay));
}

}  // namespace foundation
