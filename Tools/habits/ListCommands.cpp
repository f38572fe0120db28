#include <unordered_map>

#include "CoreDataStack/UseCases/CoreDataCheckinUseCase.h"
#include "Domain/ActivityStatus.h"
#include "Foundation/Text/DayKey.h"
#include "Tools/habits/Commands.h"
#include "Tools/habits/Groups.h"
#include "Tools/habits/Habit.h"
#include "Tools/habits/Queries.h"
#include "Tools/habits/Table.h"

namespace habits {

using coredata::NSArray;
using coredatastack::API;
using coredatastack::CDActivity;
using coredatastack::CDGroup;
using coredatastack::CoreDataCheckinUseCase;
using domain::ActivityStatus;
using domain::UserType;
using foundation::Ref;
using foundation::Value;
using foundation::ValueDictionary;
using foundation::ValueList;

namespace {

/// The program hides nothing from its user.
constexpr UserType kUser = UserType::premium;
constexpr const char* kNoHabits = "No habits yet. Add one: habits add \"Run\"";

/// The latest days of all habits, as the texts that check-ins of those days bear.
class LastDays {
 public:
  explicit LastDays(const Session& session)
      : days_(CoreDataCheckinUseCase(nullptr, session.contextHandle()).lastCheckins(std::nullopt)) {
  }

  [[nodiscard]] std::optional<std::string> of(const Ref<CDActivity>& activity) const {
    const auto found = days_.find(activity);
    if (found == days_.end()) return std::nullopt;
    return foundation::DayKey(found->second).string();
  }

 private:
  CoreDataCheckinUseCase::LastCheckins days_;
};

/// The goal in the user's language; none where the habit has no goal.
std::optional<std::string> goalOf(const CDActivity& activity) {
  return activity.hasGoal(kUser) ? activity.goal()->localizedDescription(kUser) : std::nullopt;
}

std::string statusText(const CDActivity& activity) {
  if (activity.status() == ActivityStatus(ActivityStatus::achieved).value()) return "achieved";
  if (activity.status() == ActivityStatus(ActivityStatus::archived).value()) return "archived";
  return "";
}

std::optional<std::string> groupOf(const CDActivity& activity) {
  const Ref<CDGroup> group = activity.group();
  return group ? group->title() : std::nullopt;
}

Value dataOf(const Habit& habit, const std::optional<std::string>& last) {
  return ValueDictionary{{"title", habit.activity->title()},
                         {"name", habit.name},
                         {"status", habit.activity->status()},
                         {"color", habit.activity->color()},
                         {"target", habit.activity->checkinMaxCount()},
                         {"group", groupOf(*habit.activity)},
                         {"goal", goalOf(*habit.activity)},
                         {"last", last}};
}

/// The activities that pass the filter, in the order of the groups and of the places within.
NSArray<CDActivity> activitiesLike(const ListFilter& filter, const Session& session) {
  const Ref<CDGroup> group = filter.group ? groupTitled(*filter.group, session.context()) : nullptr;
  return Queries(session).answer([&](const API& api) {
    return filter.status ? api.activities(*filter.status) : api.activities(group);
  });
}

std::vector<Habit> habitsLike(const ListFilter& filter, const Session& session) {
  std::vector<Habit> all = allHabits(session.context());
  if (!filter.group && !filter.inNoGroup && !filter.status) return all;
  std::unordered_map<Ref<CDActivity>, std::string> names;
  for (Habit& habit : all) names.emplace(habit.activity, std::move(habit.name));
  std::vector<Habit> habits;
  for (const Ref<CDActivity> activity : activitiesLike(filter, session)) {
    habits.push_back({activity, names.at(activity)});
  }
  return habits;
}

}  // namespace

Answer list(const Session& session, const ListFilter& filter) {
  const auto habits = habitsLike(filter, session);
  if (habits.empty()) {
    const auto all =
        Queries(session).answer([](const API& api) { return api.numberOfActivities(); });
    return {all == 0 ? kNoHabits : "No such habits.", ValueList()};
  }
  const LastDays days(session);
  Table table;
  ValueList data;
  for (const Habit& habit : habits) {
    const auto last = days.of(habit.activity);
    table.add({habit.name, last.value_or("never"), goalOf(*habit.activity).value_or(""),
               statusText(*habit.activity)});
    data.push_back(dataOf(habit, last));
  }
  return {table.text(), std::move(data)};
}

Answer last(const Session& session) {
  const LastDays days(session);
  Table table;
  ValueDictionary data;
  for (const Habit& habit : allHabits(session.context())) {
    const auto day = days.of(habit.activity);
    if (!day) continue;
    table.add({*day, habit.name});
    data.emplace(habit.name, *day);
  }
  return {data.empty() ? "No check-ins yet." : table.text(), std::move(data)};
}

}  // namespace habits
