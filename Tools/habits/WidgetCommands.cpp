#include <algorithm>

#include "CoreDataStack/UseCases/CoreDataActivityWidgetGroupUseCase.h"
#include "Foundation/Text/Characters.h"
#include "Tools/habits/Commands.h"
#include "Tools/habits/Failures.h"
#include "Tools/habits/Habit.h"
#include "Tools/habits/Table.h"

namespace habits {

using coredatastack::CDActivityWidgetGroup;
using coredatastack::CDActivityWidgetItem;
using coredatastack::CoreDataActivityWidgetGroupUseCase;
using domain::ActivityWidgetSize;
using foundation::Date;
using foundation::make;
using foundation::Ref;
using foundation::UUID;
using foundation::Value;
using foundation::ValueDictionary;
using foundation::ValueList;

namespace {

using WidgetGroups = std::vector<Ref<CDActivityWidgetGroup>>;

struct NamedSize {
  ActivityWidgetSize size;
  const char* name;
};

constexpr NamedSize kSizes[] = {{ActivityWidgetSize::small, "small"},
                                {ActivityWidgetSize::medium, "medium"},
                                {ActivityWidgetSize::large, "large"}};

const char* nameOfSize(std::int16_t stored) {
  return std::ranges::find(kSizes, ActivityWidgetSize::with(stored).value(),
                           [](const NamedSize& each) { return each.size.value(); })
      ->name;
}

/// Every widget group: the small ones, then the larger.
WidgetGroups allGroups(const Session& session) {
  CoreDataActivityWidgetGroupUseCase useCase(session.contextHandle());
  WidgetGroups groups;
  for (const NamedSize& each : kSizes) {
    for (const Ref<CDActivityWidgetGroup> group : useCase.list(each.size)) groups.push_back(group);
  }
  return groups;
}

std::vector<std::string> titlesIn(const CDActivityWidgetGroup& group) {
  std::vector<Ref<CDActivityWidgetItem>> items;
  for (const Ref<CDActivityWidgetItem> item : group.items()) items.push_back(item);
  std::ranges::sort(items, {}, [](const auto& item) { return item->order(); });
  std::vector<std::string> titles;
  for (const auto& item : items) {
    if (const auto activity = item->activity()) titles.push_back(titleOf(*activity));
  }
  return titles;
}

std::string joined(const std::vector<std::string>& texts) {
  std::string result;
  for (const std::string& text : texts) result += (result.empty() ? "" : ", ") + text;
  return result;
}

Value dataOf(const CDActivityWidgetGroup& group) {
  ValueList habits;
  for (const std::string& title : titlesIn(group)) habits.emplace_back(title);
  const auto uuid = group.uuid();
  return ValueDictionary{{"name", group.name()},
                         {"size", nameOfSize(group.type())},
                         {"uuid", uuid ? Value(uuid->uuidString()) : Value()},
                         {"habits", std::move(habits)}};
}

void addItem(const Habit& habit, std::int16_t order, const Ref<CDActivityWidgetGroup>& group,
             coredata::NSManagedObjectContext& context) {
  const auto item = make<CDActivityWidgetItem>(context);
  item->setUuid(UUID());
  item->setOrder(order);
  item->setActivity(habit.activity);
  item->setGroup(group);
}

Ref<CDActivityWidgetGroup> makeGroup(const NewWidget& widget, const Session& session) {
  const auto group = make<CDActivityWidgetGroup>(session.context());
  group->setName(widget.name);
  group->setUuid(UUID());
  group->setType(widget.size.value());
  group->setCreatedDate(Date::now());
  group->setModifiedDate(Date::now());
  return group;
}

/// The widget of that name, or of that identity where several share the name.
Ref<CDActivityWidgetGroup> widgetNamed(const std::string& name, const Session& session) {
  if (const auto uuid = UUID::fromString(name)) {
    auto group = CoreDataActivityWidgetGroupUseCase(session.contextHandle()).find(*uuid);
    if (group) return group;
  }
  WidgetGroups groups = allGroups(session);
  std::erase_if(groups, [&](const auto& group) { return group->name() != name; });
  if (groups.empty()) throw Refusal("There is no widget \"" + name + "\".");
  if (groups.size() > 1) {
    std::string text =
        std::to_string(groups.size()) + " widgets are called \"" + name + "\". Say which one:";
    for (const auto& group : groups) {
      text += "\n  " + group->uuid().value_or(UUID::empty()).uuidString();
    }
    throw Refusal(text);
  }
  return groups.front();
}

}  // namespace

Answer addWidget(const Session& session, const NewWidget& widget) {
  if (foundation::trimmingWhitespaceAndNewlines(widget.name).empty()) {
    throw UsageError("A widget needs a name.");
  }
  std::vector<Habit> habits;
  habits.reserve(widget.habits.size());
  for (const std::string& name : widget.habits) {
    habits.push_back(habitNamed(name, session.context()));
  }
  CoreDataActivityWidgetGroupUseCase useCase(session.contextHandle());
  const auto order = static_cast<std::int16_t>(useCase.list(widget.size).size());
  const auto group = makeGroup(widget, session);
  group->setOrder(order);
  for (std::size_t i = 0; i < habits.size(); ++i) {
    addItem(habits[i], static_cast<std::int16_t>(i), group, session.context());
  }
  useCase.add(group);
  return {"Added the widget \"" + widget.name + "\".", dataOf(*group)};
}

Answer listWidgets(const Session& session) {
  Table table;
  ValueList data;
  for (const auto& group : allGroups(session)) {
    table.add({group->name().value_or(""), nameOfSize(group->type()), joined(titlesIn(*group))});
    data.push_back(dataOf(*group));
  }
  return {data.empty() ? "No widgets yet. Add one: habits widget add \"Morning\" \"Run\""
                       : table.text(),
          std::move(data)};
}

Answer removeWidget(const Session& session, const std::string& name) {
  const Ref<CDActivityWidgetGroup> group = widgetNamed(name, session);
  Value data = dataOf(*group);
  CoreDataActivityWidgetGroupUseCase(session.contextHandle()).remove(group);
  // The use case leaves saving to its caller.
  session.context().save();
  return {"Removed the widget \"" + name + "\".", std::move(data)};
}

}  // namespace habits
