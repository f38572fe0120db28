#include "CoreDataStack/UseCases/CoreDataGroupUseCase.h"
#include "Foundation/Text/Characters.h"
#include "Tools/habits/Commands.h"
#include "Tools/habits/Failures.h"
#include "Tools/habits/Groups.h"
#include "Tools/habits/Habit.h"
#include "Tools/habits/Queries.h"
#include "Tools/habits/Table.h"

namespace habits {

using coredatastack::CDGroup;
using coredatastack::CoreDataGroupUseCase;
using foundation::Ref;
using foundation::ValueDictionary;
using foundation::ValueList;

namespace {

std::int64_t habitsIn(const CDGroup& group) {
  return static_cast<std::int64_t>(group.activities().count());
}

}  // namespace

Answer addGroup(const Session& session, const std::string& title) {
  if (foundation::trimmingWhitespaceAndNewlines(title).empty()) {
    throw UsageError("A group needs a title.");
  }
  if (findGroup(title, session.context())) {
    throw Refusal("There is a group \"" + title + "\" already.");
  }
  const auto group = makeGroup(title, session.context());
  session.context().save();
  return {"Added the group \"" + title + "\".",
          ValueDictionary{{"title", title}, {"priority", group->priority()}}};
}

Answer listGroups(const Session& session) {
  const auto failure = foundation::make<SilentFailure>();
  const auto groups = CoreDataGroupUseCase(session.contextHandle(), failure).list();
  failure->raise();
  Table table;
  ValueList data;
  for (const Ref<CDGroup> group : groups) {
    const std::int64_t habits = habitsIn(*group);
    table.add({group->title().value_or(""),
               std::to_string(habits) + (habits == 1 ? " habit" : " habits")});
    data.push_back(ValueDictionary{
        {"title", group->title()}, {"priority", group->priority()}, {"habits", habits}});
  }
  return {data.empty() ? "No groups yet. Add one: habits group add \"Sport\"" : table.text(),
          std::move(data)};
}

Answer moveToGroup(const Session& session, const GroupMove& move) {
  const Habit habit = habitNamed(move.name, session.context());
  const Ref<CDGroup> group = move.group ? groupTitled(*move.group, session.context()) : nullptr;
  habit.activity->setGroup(group);
  session.context().save();
  return {"Moved \"" + habit.name + "\" " +
              (move.group ? "into the group \"" + *move.group + "\"." : "out of its group."),
          ValueDictionary{
              {"title", titleOf(*habit.activity)}, {"name", habit.name}, {"group", move.group}}};
}

}  // namespace habits
