#include <algorithm>
#include <array>
#include <utility>

#include "CoreDataStack/Model/CDReminder.h"
#include "Tools/habits/Commands.h"
#include "Tools/habits/Failures.h"
#include "Tools/habits/Habit.h"

namespace habits {

using coredatastack::CDActivity;
using coredatastack::CDReminder;
using domain::DayOfWeek;
using foundation::Ref;
using foundation::ValueDictionary;
using foundation::ValueList;

namespace {

/// In the order of `DayOfWeek::allCases()`.
constexpr std::array<const char*, 7> kDayNames = {"sun", "mon", "tue", "wed", "thu", "fri", "sat"};
constexpr const char* kNineOClock = "09:00";

const char* nameOf(DayOfWeek day) {
  return kDayNames[static_cast<std::size_t>(DayOfWeek::Case(day))];
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

void requireTime(const std::string& text) {
  const bool hasForm = text.size() == 5 && text[2] == ':' && isDigit(text[0]) && isDigit(text[1]) &&
                       isDigit(text[3]) && isDigit(text[4]);
  if (!hasForm || text.substr(0, 2) > "23" || text.substr(3) > "59") {
    throw UsageError("\"" + text + "\" is no time; write it as HH:MM, such as 07:30.");
  }
}

void requireSensible(const std::vector<std::string>& days) {
  const bool namesASet = std::ranges::any_of(
      days, [](const std::string& day) { return day == kAllDays || day == kNoDays; });
  if (namesASet && days.size() > 1) {
    throw UsageError("--days takes days of the week, or \"all\" or \"none\" alone.");
  }
}

void setDays(CDReminder& reminder, const std::vector<std::string>& names) {
  for (const DayOfWeek day : DayOfWeek::allCases()) {
    const bool isNamed = std::ranges::find(names, nameOf(day)) != names.end();
    if (isNamed || names.front() == kAllDays) {
      reminder.addDay(day);
    } else {
      reminder.removeDay(day);
    }
  }
}

/// The habit's reminder; a new one is for nine o'clock every day.
Ref<CDReminder> reminderOf(const Ref<CDActivity>& activity,
                           coredata::NSManagedObjectContext& context) {
  if (const auto known = activity->reminder()) return known;
  auto reminder = foundation::make<CDReminder>(context);
  reminder->setDays(DayOfWeek::everyday);
  reminder->setTime(kNineOClock);
  activity->setReminder(reminder);
  return reminder;
}

std::string textOf(const std::string& habit, const Ref<CDReminder>& reminder) {
  if (!reminder || reminder->isOff()) return "No reminders of \"" + habit + "\".";
  std::string text = "Reminds of \"" + habit + "\" at " + reminder->time().value_or(kNineOClock);
  if (reminder->hasAllDays()) return text + " every day.";
  const char* separator = " on ";
  for (const DayOfWeek day : reminder->daysOfWeek()) {
    text += std::exchange(separator, ", ") + std::string(nameOf(day));
  }
  return text + ".";
}

ValueDictionary dataOf(const Habit& habit, const Ref<CDReminder>& reminder) {
  ValueList days;
  if (reminder) {
    for (const DayOfWeek day : reminder->daysOfWeek()) days.emplace_back(nameOf(day));
  }
  return {{"title", titleOf(*habit.activity)},
          {"name", habit.name},
          {"at", reminder ? reminder->time() : std::nullopt},
          {"days", std::move(days)}};
}

}  // namespace

std::vector<std::string> namesOfDays() {
  std::vector<std::string> names(kDayNames.begin(), kDayNames.end());
  names.insert(names.end(), {kAllDays, kNoDays});
  return names;
}

Answer remind(const Session& session, const ReminderChange& change) {
  requireSensible(change.days);
  if (change.at) requireTime(*change.at);
  const Habit habit = habitNamed(change.name, session.context());
  if (change.at || !change.days.empty()) {
    const auto reminder = reminderOf(habit.activity, session.context());
    if (change.at) reminder->setTime(change.at);
    if (!change.days.empty()) setDays(*reminder, change.days);
    session.context().save();
  }
  const Ref<CDReminder> reminder = habit.activity->reminder();
  return {textOf(habit.name, reminder), dataOf(habit, reminder)};
}

}  // namespace habits
