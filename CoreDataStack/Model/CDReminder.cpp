#include "CoreDataStack/Model/CDReminder.h"

#include "Foundation/Text/Calendar.h"
#include "Foundation/Text/DateFormatter.h"
#include "Foundation/Values/FatalError.h"

namespace coredatastack {

using domain::DayOfWeek;
using foundation::Calendar;
using foundation::Date;
using foundation::DateComponents;
using foundation::fatalError;

std::string CDReminder::Time::description() const {
  return std::to_string(hours) + (minutes < 10 ? ":0" : ":") + std::to_string(minutes);
}

Date CDReminder::Time::asDate() const {
  DateComponents components;
  components.hour = hours;
  components.minute = minutes;
  const std::optional<Date> date = Calendar::current().date(components);
  if (!date) fatalError("no date has the time of day " + description());
  return *date;
}

std::vector<DayOfWeek> CDReminder::daysOfWeek() const {
  std::vector<DayOfWeek> result;
  for (const DayOfWeek day : DayOfWeek::allCases()) {
    if (hasDay(day)) result.push_back(day);
  }
  return result;
}

bool CDReminder::isOff() const { return (days() & DayOfWeek::everyday) == 0; }

bool CDReminder::hasAllDays() const {
  return (days() & DayOfWeek::everyday) == DayOfWeek::everyday;
}

void CDReminder::addDay(DayOfWeek day) { setDays(static_cast<std::int16_t>(days() | day.bit())); }

void CDReminder::removeDay(DayOfWeek day) {
  setDays(static_cast<std::int16_t>(days() & ~day.bit()));
}

bool CDReminder::hasDay(DayOfWeek day) const { return (days() & day.bit()) != 0; }

CDReminder::Time asTime(std::string_view text) {
  constexpr CDReminder::Time kNineOClock{9, 0};
  const std::optional<Date> date = foundation::DateFormatter("HH:mm").date(text);
  if (!date) return kNineOClock;
  const DateComponents components = Calendar::current().dateComponents(*date);
  if (!components.hour || !components.minute) fatalError("a date has no time of day");
  return {*components.hour, *components.minute};
}

}  // namespace coredatastack
