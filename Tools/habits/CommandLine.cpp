#include "Tools/habits/CommandLine.h"

#include <unistd.h>

#include <cstdlib>
#include <limits>
#include <map>
#include <memory>
#include <string_view>

#include "Tools/habits/Commands.h"

namespace habits {

using coredatastack::CDGoal;
using domain::ActivityStatus;

namespace {

constexpr std::int16_t kMostTimes = std::numeric_limits<std::int16_t>::max();

bool drawsInColor() {
  const char* noColor = std::getenv("NO_COLOR");
  const char* terminal = std::getenv("TERM");
  const bool isDumb = terminal == nullptr || std::string_view(terminal) == "dumb";
  return isatty(STDOUT_FILENO) == 1 && (noColor == nullptr || *noColor == '\0') && !isDumb;
}

struct AddArguments {
  NewHabit habit;
  std::string every;
  std::int16_t eachDays = 0;
};

NewHabit habitOf(const AddArguments& arguments) {
  const std::map<std::string, CDGoal::Interval> intervals{{"day", CDGoal::Interval::daily},
                                                          {"week", CDGoal::Interval::weekly},
                                                          {"month", CDGoal::Interval::monthly},
                                                          {"year", CDGoal::Interval::yearly}};
  NewHabit habit = arguments.habit;
  if (arguments.eachDays != 0) {
    habit.interval = CDGoal::Interval::count;
    habit.times = arguments.eachDays;
  } else if (!arguments.every.empty()) {
    habit.interval = intervals.at(arguments.every);
    if (habit.times == 0) habit.times = 1;
  }
  return habit;
}

void declareAdd(CLI::App& app, Request& request) {
  const CommandDeclaration<AddArguments> command(app, "add", "Add a habit");
  AddArguments& arguments = command.arguments();
  command->add_option("title", arguments.habit.title, "What it is called")->required();
  command->add_option("--color", arguments.habit.color, "Its colour, a name or a number")
      ->capture_default_str();
  command->add_option("--target", arguments.habit.target, "How many times make a day complete");
  auto* every = command->add_option("--every", arguments.every, "A goal that begins anew each")
                    ->check(CLI::IsMember({"day", "week", "month", "year"}));
  command->add_option("--times", arguments.habit.times, "How often in that time")
      ->needs(every)
      ->check(CLI::Range(std::int16_t{1}, kMostTimes));
  command->add_option("--each-days", arguments.eachDays, "A goal of once in so many days")
      ->excludes(every)
      ->check(CLI::Range(std::int16_t{1}, kMostTimes));
  command.runs(request, [](const Session& session, const AddArguments& its) {
    return add(session, habitOf(its));
  });
}

struct DayArguments {
  HabitDay day;
  bool alternate = false;
  std::string text;
};

CommandDeclaration<DayArguments> dayCommand(CLI::App& app, const char* name, const char* what) {
  CommandDeclaration<DayArguments> command(app, name, what);
  addHabit(command, command.arguments().day.name);
  addDay(command, command.arguments().day.on);
  return command;
}

struct YearArguments {
  std::string name;
  std::optional<int> year;
};

void declareYear(CLI::App& app, Request& request) {
  const CommandDeclaration<YearArguments> command(app, "year", "Draw a habit's year");
  addHabit(command, command.arguments().name);
  command->add_option("year", command.arguments().year, "The year; this one when not given")
      ->check(CLI::Range(1, 9999));
  // Asked now: while a command runs, the standard output is kept for its answer.
  command.runs(request,
               [inColor = drawsInColor()](const Session& session, const YearArguments& its) {
                 return year(session, its.name, its.year, inColor);
               });
}

struct ListArguments {
  ListFilter filter;
  std::string status;
};

ListFilter filterOf(const ListArguments& arguments) {
  const std::map<std::string, ActivityStatus> statuses{{"active", ActivityStatus::active},
                                                       {"achieved", ActivityStatus::achieved},
                                                       {"archived", ActivityStatus::archived}};
  ListFilter filter = arguments.filter;
  if (!arguments.status.empty()) filter.status = statuses.at(arguments.status);
  return filter;
}

void declareList(CLI::App& app, Request& request) {
  const CommandDeclaration<ListArguments> command(app, "list", "Show habits, all or some");
  ListArguments& arguments = command.arguments();
  auto* group =
      command->add_option("--group", arguments.filter.group, "The active ones of a group");
  auto* none =
      command->add_flag("--none", arguments.filter.inNoGroup, "The active ones in no group")
          ->excludes(group);
  command->add_option("--status", arguments.status, "Those of a status")
      ->excludes(group)
      ->excludes(none)
      ->check(CLI::IsMember({"active", "achieved", "archived"}));
  command.runs(request, [](const Session& session, const ListArguments& its) {
    return list(session, filterOf(its));
  });
}

void declareStats(CLI::App& app, Request& request) {
  const CommandDeclaration<StatsQuestion> command(app, "stats", "Count a habit's days and times");
  StatsQuestion& question = command.arguments();
  addHabit(command, question.name);
  command->add_option("--from", question.from, "The first day, as YYYY-MM-DD");
  command->add_option("--to", question.to, "The last day");
  command->add_option("--types", question.types, "What to count, separated by commas")
      ->delimiter(',')
      ->check(CLI::IsMember({kStandardType, kAlternateType}))
      ->capture_default_str();
  command.runs(request, stats);
}

}  // namespace

void declareHabitCommands(CLI::App& app, Request& request) {
  declareAdd(app, request);
  const CommandDeclaration<std::string> achieveCommand(app, "achieve", "Mark a habit as achieved");
  addHabit(achieveCommand, achieveCommand.arguments());
  achieveCommand.runs(request, achieve);
}

void declareDayCommands(CLI::App& app, Request& request) {
  const auto checkCommand = dayCommand(app, "check", "Check a habit in");
  checkCommand->add_flag("--alternate", checkCommand.arguments().alternate,
                         "Not done, but not forgotten");
  checkCommand.runs(request, [](const Session& session, const DayArguments& its) {
    return check(session, its.day, its.alternate);
  });
  dayCommand(app, "more", "Count a day once more")
      .runs(request,
            [](const Session& session, const DayArguments& its) { return more(session, its.day); });
  dayCommand(app, "uncheck", "Take a check-in back")
      .runs(request, [](const Session& session, const DayArguments& its) {
        return uncheck(session, its.day);
      });
  const auto noteCommand = dayCommand(app, "note", "Write a note to a day's check-in");
  noteCommand
      ->add_option("text", noteCommand.arguments().text, "The note; an empty one takes it away")
      ->required();
  noteCommand.runs(request, [](const Session& session, const DayArguments& its) {
    return note(session, its.day, its.text);
  });
}

void declareListCommands(CLI::App& app, Request& request) {
  declareList(app, request);
  app.add_subcommand("last", "Show the last day of each habit")->final_callback([&] {
    request.run = last;
  });
  declareYear(app, request);
  declareStats(app, request);
}

void declareImport(CLI::App& app, Request& request) {
  const CommandDeclaration<ImportFile> command(app, "import",
                                               "Take in check-ins that another program exported");
  command->add_option("file", command.arguments().path, "The file, comma-separated")->required();
  command->add_flag("--skip-bad", command.arguments().skipsBadRows,
                    "Leave rows out that cannot be read");
  command.runs(request, importFile);
}

}  // namespace habits
