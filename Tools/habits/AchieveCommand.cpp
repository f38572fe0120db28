#include "Tools/habits/Commands.h"
#include "Tools/habits/Habit.h"

namespace habits {

Answer achieve(const Session& session, const std::string& name) {
  const Habit habit = habitNamed(name, session.context());
  habit.activity->achieve();
  session.context().save();
  return {"Achieved \"" + habit.name + "\".",
          foundation::ValueDictionary{{"title", titleOf(*habit.activity)},
                                      {"name", habit.name},
                                      {"status", habit.activity->status()}}};
}

}  // namespace habits
