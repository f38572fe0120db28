#include <cmath>

#include "CoreDataStack/Model/CDActivity.h"
#include "Foundation/Text/Characters.h"
#include "Tools/habits/Commands.h"
#include "Tools/habits/Failures.h"
#include "Tools/habits/Habit.h"

namespace habits {

using coredatastack::CDActivity;
using foundation::Ref;

namespace {

void requireSensible(const NewHabit& habit) {
  if (foundation::trimmingWhitespaceAndNewlines(habit.title).empty()) {
    throw UsageError("A habit needs a title.");
  }
  if (habit.target && !(std::isfinite(*habit.target) && *habit.target > 0)) {
    throw UsageError("The target must be a number above 0.");
  }
}

/// The name of the habit that was just made.
std::string nameOf(const Ref<CDActivity>& activity, coredata::NSManagedObjectContext& context) {
  for (const Habit& each : allHabits(context)) {
    if (each.activity == activity) return each.name;
  }
  return titleOf(*activity);
}

}  // namespace

Answer add(const Session& session, const NewHabit& habit) {
  requireSensible(habit);
  const Ref<CDActivity> activity = CDActivity::create(session.context(), habit.color);
  activity->setTitle(habit.title);
  if (habit.target) activity->setCheckinMaxCount(*habit.target);
  activity->goal()->setInterval(habit.interval.rawValue());
  activity->goal()->setCount(habit.times);
  session.context().save();

  const std::string name = nameOf(activity, session.context());
  std::string text = "Added \"" + habit.title + "\".";
  if (name != habit.title) text += " It is not the only one: call this one \"" + name + "\".";
  return {text, foundation::ValueDictionary{{"title", habit.title},
                                            {"name", name},
                                            {"color", habit.color},
                                            {"target", activity->checkinMaxCount()}}};
}

}  // namespace habits
