#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <limits>
#include <map>
#include <string>

#include "Foundation/Values/Error.h"
#include "Foundation/Values/FatalError.h"
#include "Tools/habits/Commands.h"
#include "Tools/habits/Failures.h"

namespace habits {

namespace {

using coredatastack::CDGoal;

/// What the command line asks for: the common options, the arguments of all commands, and the
/// command to run.
struct Request {
  std::optional<std::string> store;
  bool json = false;

  HabitDay day;
  NewHabit habit;
  std::string every;
  std::int16_t eachDays = 0;
  bool alternate = false;
  std::string text;
  std::optional<int> year;

  std::function<Answer(const Session&)> run;
};

constexpr std::int16_t kMostTimes = std::numeric_limits<std::int16_t>::max();

bool drawsInColor() {
  const char* noColor = std::getenv("NO_COLOR");
  const char* terminal = std::getenv("TERM");
  const bool isDumb = terminal == nullptr || std::string_view(terminal) == "dumb";
  return isatty(STDOUT_FILENO) == 1 && (noColor == nullptr || *noColor == '\0') && !isDumb;
}

void setGoal(Request& request) {
  const std::map<std::string, CDGoal::Interval> intervals{{"day", CDGoal::Interval::daily},
                                                          {"week", CDGoal::Interval::weekly},
                                                          {"month", CDGoal::Interval::monthly},
                                                          {"year", CDGoal::Interval::yearly}};
  NewHabit& habit = request.habit;
  if (request.eachDays != 0) {
    habit.interval = CDGoal::Interval::count;
    habit.times = request.eachDays;
  } else if (!request.every.empty()) {
    habit.interval = intervals.at(request.every);
    if (habit.times == 0) habit.times = 1;
  }
}

void declareAdd(CLI::App& app, Request& request) {
  auto* command = app.add_subcommand("add", "Add a habit");
  command->add_option("title", request.habit.title, "What it is called")->required();
  command->add_option("--color", request.habit.color, "Its colour, a name or a number")
      ->default_val("blue");
  command->add_option("--target", request.habit.target, "How many times make a day complete");
  auto* every = command->add_option("--every", request.every, "A goal that begins anew each")
                    ->check(CLI::IsMember({"day", "week", "month", "year"}));
  command->add_option("--times", request.habit.times, "How often in that time")
      ->needs(every)
      ->check(CLI::Range(std::int16_t{1}, kMostTimes));
  command->add_option("--each-days", request.eachDays, "A goal of once in so many days")
      ->excludes(every)
      ->check(CLI::Range(std::int16_t{1}, kMostTimes));
  command->final_callback([&] {
    setGoal(request);
    request.run = [&](const Session& session) { return add(session, request.habit); };
  });
}

CLI::App* declareHabitCommand(CLI::App& app, Request& request, const char* name, const char* what) {
  auto* command = app.add_subcommand(name, what);
  command->add_option("title", request.day.name, "The habit's title")->required();
  return command;
}

CLI::App* declareDayCommand(CLI::App& app, Request& request, const char* name, const char* what) {
  auto* command = declareHabitCommand(app, request, name, what);
  command->add_option("--on", request.day.on, "The day, as YYYY-MM-DD; today when not given");
  return command;
}

void declareDayCommands(CLI::App& app, Request& request) {
  auto* checkCommand = declareDayCommand(app, request, "check", "Check a habit in");
  checkCommand->add_flag("--alternate", request.alternate, "Not done, but not forgotten");
  checkCommand->final_callback([&] {
    request.run = [&](const Session& session) {
      return check(session, request.day, request.alternate);
    };
  });
  declareDayCommand(app, request, "more", "Count a day once more")->final_callback([&] {
    request.run = [&](const Session& session) { return more(session, request.day); };
  });
  declareDayCommand(app, request, "uncheck", "Take a check-in back")->final_callback([&] {
    request.run = [&](const Session& session) { return uncheck(session, request.day); };
  });
  auto* noteCommand = declareDayCommand(app, request, "note", "Write a note to a day's check-in");
  noteCommand->add_option("text", request.text, "The note; an empty one takes it away")->required();
  noteCommand->final_callback([&] {
    request.run = [&](const Session& session) { return note(session, request.day, request.text); };
  });
}

void declareOtherCommands(CLI::App& app, Request& request) {
  app.add_subcommand("list", "Show all habits")->final_callback([&] { request.run = list; });
  app.add_subcommand("last", "Show the last day of each habit")->final_callback([&] {
    request.run = last;
  });
  auto* yearCommand = declareHabitCommand(app, request, "year", "Draw a habit's year");
  yearCommand->add_option("year", request.year, "The year; this one when not given")
      ->check(CLI::Range(1, 9999));
  yearCommand->final_callback([&] {
    request.run = [&](const Session& session) {
      return year(session, request.day.name, request.year, drawsInColor());
    };
  });
  declareHabitCommand(app, request, "achieve", "Mark a habit as achieved")->final_callback([&] {
    request.run = [&](const Session& session) { return achieve(session, request.day.name); };
  });
}

void complain(const std::string& what) { std::fprintf(stderr, "habits: %s\n", what.c_str()); }

int fulfil(const Request& request) {
  std::string path;
  try {
    path = storePath(request.store);
    const Session session(path);
    const Answer answer =
        session.context().performBlockAndWait([&] { return request.run(session); });
    foundation::print(request.json ? json(answer.data) : answer.text);
    return kSuccess;
  } catch (const Refusal& refusal) {
    complain(refusal.what());
    return kRefused;
  } catch (const UsageError& error) {
    complain(error.what());
    return kUsage;
  } catch (const foundation::Error& error) {
    complain(explained(error, path));
  } catch (const std::exception& error) {
    complain(error.what());
  }
  return kStoreTrouble;
}

}  // namespace

}  // namespace habits

int main(int argc, char** argv) {
  CLI::App app(
      "Tracks habits, day by day.\nOf several habits with one title, TITLE#1 is the oldest.",
      "habits");
  app.require_subcommand(0, 1);
  app.fallthrough();
  habits::Request request;
  app.add_option("--store", request.store,
                 "The file to keep them in; the user's own when not given");
  app.add_flag("--json", request.json, "Answer in JSON");
  habits::declareAdd(app, request);
  habits::declareDayCommands(app, request);
  habits::declareOtherCommands(app, request);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? habits::kSuccess : habits::kUsage;
  }
  if (!request.run) {
    std::fputs(app.help().c_str(), stderr);
    return habits::kUsage;
  }
  return habits::fulfil(request);
}
