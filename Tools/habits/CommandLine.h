#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Tools/habits/Answer.h"
#include "Tools/habits/AnswerStream.h"
#include "Tools/habits/Session.h"

namespace habits {

/// What the command line asks for: the common options, and the command to run.
struct Request {
  std::optional<std::string> store;
  bool json = false;
  /// Whether a store of an older version may be brought to the newest one without asking.
  bool migrates = false;
  std::function<Answer(const Session&)> run;
  /// Instead of that, for a command over a store that is not open.
  std::function<Answer(const std::string& storePath)> runBeforeOpening;
  /// Instead of either, for a command that answers line by line.
  std::function<void(const std::string& storePath, const AnswerStream&)> runAnsweringLater;
};

// Each declares commands that put themselves into the request when they are named. The request must
// outlive the parsing.

void declareHabitCommands(CLI::App& app, Request& request);
void declareDayCommands(CLI::App& app, Request& request);
void declareListCommands(CLI::App& app, Request& request);
void declareImport(CLI::App& app, Request& request);
void declareErasing(CLI::App& app, Request& request);
void declareGroups(CLI::App& app, Request& request);
void declareReview(CLI::App& app, Request& request);
void declareReminders(CLI::App& app, Request& request);
void declareWidgets(CLI::App& app, Request& request);
void declarePhotos(CLI::App& app, Request& request);
void declareMigration(CLI::App& app, Request& request);
void declareHistory(CLI::App& app, Request& request);
void declareBackups(CLI::App& app, Request& request);

/// A command whose arguments are a value of their own, kept as long as somebody may run it.
template <typename Arguments>
class CommandDeclaration {
 public:
  CommandDeclaration(CLI::App& app, const char* name, const char* what)
      : app_(app.add_subcommand(name, what)) {}

  [[nodiscard]] CLI::App* operator->() const { return app_; }
  [[nodiscard]] Arguments& arguments() const { return *arguments_; }
  [[nodiscard]] const std::shared_ptr<Arguments>& sharedArguments() const { return arguments_; }
  /// What the command does.
  template <typename Run>
  void runs(Request& request, Run run) const {
    app_->final_callback([&request, run, arguments = arguments_] {
      request.run = [run, arguments](const Session& session) { return run(session, *arguments); };
    });
  }

 private:
  CLI::App* app_;
  std::shared_ptr<Arguments> arguments_ = std::make_shared<Arguments>();
};

/// A command that is followed by another one.
inline CLI::App& family(CLI::App& app, const char* name, const char* what) {
  auto* command = app.add_subcommand(name, what);
  command->require_subcommand(1);
  return *command;
}

/// Declares the argument that says which habit is meant.
template <typename Arguments>
void addHabit(const CommandDeclaration<Arguments>& command, std::string& name) {
  command->add_option("title", name, "The habit's title")->required();
}

/// Declares the option that says which day is meant.
template <typename Arguments>
void addDay(const CommandDeclaration<Arguments>& command, std::optional<std::string>& on) {
  command->add_option("--on", on, "The day, as YYYY-MM-DD; today when not given");
}

}  // namespace habits
