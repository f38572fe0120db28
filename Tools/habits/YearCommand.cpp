#include <unordered_map>

#include "CoreDataStack/Model/CDCheckin.h"
#include "Domain/CheckInIntensity.h"
#include "Domain/CheckinType.h"
#include "Foundation/Predicate/NSPredicate.h"
#include "Foundation/Text/DayKey.h"
#include "Tools/habits/Commands.h"
#include "Tools/habits/Habit.h"
#include "Tools/habits/YearCalendar.h"

namespace habits {

using coredatastack::CDActivity;
using coredatastack::CDCheckin;
using domain::CheckInIntensity;
using domain::CheckinType;
using foundation::Date;
using foundation::DayKey;
using foundation::Ref;
using foundation::ValueDictionary;
using std::chrono::sys_days;

namespace {

using CheckinsByDay = std::unordered_map<std::string, Ref<CDCheckin>>;

Shade shadeOf(const CDCheckin& checkin) {
  switch (checkin.intensity()) {
    case CheckInIntensity::none:
      return Shade::other;
    case CheckInIntensity::low:
      return Shade::low;
    case CheckInIntensity::medium:
      return Shade::medium;
    case CheckInIntensity::high:
      return Shade::high;
  }
  return Shade::empty;
}

const char* nameOf(Shade shade) {
  constexpr const char* kNames[] = {"empty", "low", "medium", "high", "none"};
  return kNames[static_cast<std::size_t>(shade)];
}

/// A day's key; empty for a day that the zone left out.
std::string keyOf(const Day& day) {
  const auto noon = noonOf(day);
  return noon ? DayKey(*noon).string() : std::string();
}

CheckinsByDay checkinsOf(const Ref<CDActivity>& activity, std::chrono::year year,
                         coredata::NSManagedObjectContext& context) {
  auto request = CDCheckin::fetchRequest();
  request.setPredicate(
      foundation::NSPredicate::format("activity = %@ AND (%@ <= date AND date <= %@)", activity,
                                      keyOf(year / 1 / 1), keyOf(year / 12 / 31)));
  CheckinsByDay result;
  for (const Ref<CDCheckin> checkin : context.fetch(request)) {
    result.emplace(checkin->date().value_or(""), checkin);
  }
  return result;
}

foundation::Value dataOf(const CheckinsByDay& checkins) {
  ValueDictionary days;
  for (const auto& [day, checkin] : checkins) {
    days.emplace(day, ValueDictionary{{"count", checkin->count()},
                                      {"type", checkin->type()},
                                      {"intensity", nameOf(shadeOf(*checkin))},
                                      {"memo", checkin->memo()}});
  }
  return days;
}

double sumOf(const CheckinsByDay& checkins) {
  double sum = 0;
  for (const auto& [day, checkin] : checkins) sum += checkin->count();
  return sum;
}

/// "Run 2024: 152 days, 167 times"
std::string titleLine(const std::string& name, std::chrono::year year,
                      const CheckinsByDay& checkins) {
  const auto some = [](double number, const std::string& what) {
    return foundation::NSNumber(number).stringValue() + " " + what + (number == 1 ? "" : "s");
  };
  return name + " " + std::to_string(static_cast<int>(year)) + ": " +
         some(static_cast<double>(checkins.size()), "day") + ", " + some(sumOf(checkins), "time");
}

}  // namespace

Answer year(const Session& session, const std::string& name, std::optional<int> which,
            bool inColor) {
  const auto year = which ? std::chrono::year(*which) : dayOf(Date::now()).year();
  const Habit habit = habitNamed(name, session.context());
  const auto checkins = checkinsOf(habit.activity, year, session.context());
  const auto calendar = yearCalendar(
      year,
      [&](const Day& day) {
        const auto found = checkins.find(keyOf(day));
        return found == checkins.end() ? Shade::empty : shadeOf(*found->second);
      },
      inColor);
  return {titleLine(habit.name, year, checkins) + "\n" + calendar,
          ValueDictionary{{"title", titleOf(*habit.activity)},
                          {"name", habit.name},
                          {"year", static_cast<int>(year)},
                          {"total", sumOf(checkins)},
                          {"days", dataOf(checkins)}}};
}

}  // namespace habits
