#include <map>

#include "Tools/habits/CommandLine.h"
#include "Tools/habits/Commands.h"
#include "Tools/habits/Failures.h"

namespace habits {

using domain::ActivityWidgetSize;

namespace {

void declareDestruction(CLI::App& app, Request& request, const char* name, const char* what,
                        Answer (*run)(const Session&, const Destruction&)) {
  const CommandDeclaration<Destruction> command(app, name, what);
  addHabit(command, command.arguments().name);
  command->add_flag("--yes", command.arguments().isConsentedTo, "Do not ask");
  command.runs(request, run);
}

struct MoveArguments {
  GroupMove move;
  bool isOut = false;
};

void declareGroupMove(CLI::App& app, Request& request) {
  const CommandDeclaration<MoveArguments> command(app, "move", "Put a habit into a group");
  addHabit(command, command.arguments().move.name);
  auto* group = command->add_option("group", command.arguments().move.group, "The group's title");
  command->add_flag("--none", command.arguments().isOut, "Out of its group")->excludes(group);
  command.runs(request, [](const Session& session, const MoveArguments& its) {
    if (!its.isOut && !its.move.group) throw UsageError("Name the group, or say --none.");
    return moveToGroup(session, its.move);
  });
}

struct WidgetArguments {
  NewWidget widget;
  std::string size = "small";
};

NewWidget widgetOf(const WidgetArguments& arguments) {
  const std::map<std::string, ActivityWidgetSize> sizes{{"small", ActivityWidgetSize::small},
                                                        {"medium", ActivityWidgetSize::medium},
                                                        {"large", ActivityWidgetSize::large}};
  NewWidget widget = arguments.widget;
  widget.size = sizes.at(arguments.size);
  return widget;
}

void declareNewWidget(CLI::App& app, Request& request) {
  const CommandDeclaration<WidgetArguments> command(app, "add", "Show habits together");
  WidgetArguments& arguments = command.arguments();
  command->add_option("name", arguments.widget.name, "What it is called")->required();
  command->add_option("habits", arguments.widget.habits, "The titles of its habits")->required();
  command->add_option("--size", arguments.size, "How large it is")
      ->check(CLI::IsMember({"small", "medium", "large"}))
      ->capture_default_str();
  command.runs(request, [](const Session& session, const WidgetArguments& its) {
    return addWidget(session, widgetOf(its));
  });
}

}  // namespace

void declareErasing(CLI::App& app, Request& request) {
  declareDestruction(app, request, "erase", "Delete all check-ins of a habit", erase);
  declareDestruction(app, request, "remove", "Delete a habit and all that belongs to it", remove);
}

void declareGroups(CLI::App& app, Request& request) {
  CLI::App& group = family(app, "group", "Sort habits into groups");
  const CommandDeclaration<std::string> addCommand(group, "add", "Add a group");
  addCommand->add_option("title", addCommand.arguments(), "What it is called")->required();
  addCommand.runs(request, addGroup);
  group.add_subcommand("list", "Show all groups")->final_callback([&] {
    request.run = listGroups;
  });
  declareGroupMove(group, request);
}

void declareReview(CLI::App& app, Request& request) {
  const CommandDeclaration<MonthText> command(app, "review", "Show or write a review of a month");
  command->add_option("month", command.arguments().month,
                      "The month, as YYYY-MM; this one when not given");
  command->add_option("text", command.arguments().text,
                      "What to write about it; an empty text takes it away");
  command.runs(request, review);
}

void declareReminders(CLI::App& app, Request& request) {
  const CommandDeclaration<ReminderChange> command(app, "remind",
                                                   "Show or set when a habit reminds of itself");
  ReminderChange& change = command.arguments();
  addHabit(command, change.name);
  command->add_option("--at", change.at, "The time of day, as HH:MM");
  command->add_option("--days", change.days, "The days of the week, separated by commas")
      ->delimiter(',')
      ->check(CLI::IsMember(namesOfDays()));
  command.runs(request, remind);
}

void declareWidgets(CLI::App& app, Request& request) {
  CLI::App& widget = family(app, "widget", "Arrange habits in widgets");
  declareNewWidget(widget, request);
  widget.add_subcommand("list", "Show all widgets")->final_callback([&] {
    request.run = listWidgets;
  });
  const CommandDeclaration<std::string> removeCommand(widget, "remove", "Delete a widget");
  removeCommand->add_option("name", removeCommand.arguments(), "Its name")->required();
  removeCommand.runs(request, removeWidget);
}

}  // namespace habits
