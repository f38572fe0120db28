#include "Foundation/Text/Internal/IcuCalendar.h"

#include <unicode/calendar.h>
#include <unicode/timezone.h>

#include <cmath>
#include <memory>

#include "Foundation/Text/Internal/Icu.h"

namespace foundation {

namespace {

constexpr double kMillisecondsPerDay = 86'400'000;

/// The thread's calendar for an environment, set to no date.
icu::Calendar& clearedCalendar(const Environment& environment) {
  thread_local const Environment* madeFor = nullptr;
  thread_local std::unique_ptr<icu::Calendar> calendar;
  if (madeFor != &environment) {
    UErrorCode status = U_ZERO_ERROR;
    calendar.reset(
        icu::Calendar::createInstance(*icu::TimeZone::getGMT(), environment.locale, status));
    requireIcu(status);
    madeFor = &environment;
  }
  calendar->clear();
  return *calendar;
}

}  // namespace

void readIcuDay(const Environment& environment, std::int64_t days, DateComponents& into) {
  icu::Calendar& calendar = clearedCalendar(environment);
  UErrorCode status = U_ZERO_ERROR;
  calendar.setTime(static_cast<double>(days) * kMillisecondsPerDay, status);
  into.era = calendar.get(UCAL_ERA, status);
  into.year = calendar.get(UCAL_YEAR, status);
  into.month = calendar.get(UCAL_MONTH, status) + 1;
  into.day = calendar.get(UCAL_DATE, status);
  into.isLeapMonth = calendar.get(UCAL_IS_LEAP_MONTH, status) != 0;
  requireIcu(status);
}

std::int64_t icuDay(const Environment& environment, const DateComponents& components) {
  icu::Calendar& calendar = clearedCalendar(environment);
  const auto set = [&](UCalendarDateFields field, std::int64_t value) {
    calendar.set(field, static_cast<std::int32_t>(value));
  };
  if (components.era) set(UCAL_ERA, *components.era);
  set(UCAL_YEAR, components.year.value_or(1));
  set(UCAL_MONTH, components.month.value_or(1) - 1);
  if (components.isLeapMonth) set(UCAL_IS_LEAP_MONTH, 1);
  set(UCAL_DATE, components.day.value_or(1));
  UErrorCode status = U_ZERO_ERROR;
  const double time = calendar.getTime(status);
  requireIcu(status);
  return static_cast<std::int64_t>(std::floor(time / kMillisecondsPerDay));
}

}  // namespace foundation
