#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Tests/Support/TemporaryDirectory.h"
#include "Tests/habits/RunningProgram.h"

namespace habits {

/// How a run of the program ended, and what it wrote.
struct Outcome {
  int status = -1;
  std::string output;
  std::string complaint;
};

/// The built program with directories of its own and settings that no test inherits from its
/// surroundings: English, UTC, no terminal.
class Program {
 public:
  Program();

  [[nodiscard]] std::filesystem::path directory() const { return directory_.path(); }
  [[nodiscard]] std::filesystem::path store() const { return directory() / "habits.sqlite"; }
  void setEnvironment(const std::string& name, const std::string& value) {
    environment_[name] = value;
  }

  /// Runs a command over `store()`. One at a time.
  [[nodiscard]] Outcome run(std::vector<std::string> arguments) const;
  /// The same with exactly these arguments.
  [[nodiscard]] Outcome runPlainly(const std::vector<std::string>& arguments) const;
  /// Runs a command over `store()` with a terminal at its input alone, where the answer is typed.
  [[nodiscard]] Outcome runAnswering(std::vector<std::string> arguments,
                                     const std::string& answer) const;
  /// Starts a command over `store()` that goes on until it is stopped. What it complains of lies in
  /// the file of that name in `directory()`.
  [[nodiscard]] std::unique_ptr<RunningProgram> start(std::vector<std::string> arguments,
                                                      const std::string& complaint) const;
  /// What a command over `store()` writes to a terminal of its own, which shows colours.
  [[nodiscard]] std::string outputInTerminal(std::vector<std::string> arguments) const;
  /// The same for what goes to the standard error stream.
  [[nodiscard]] std::string complaintInTerminal(std::vector<std::string> arguments) const;

 private:
  [[nodiscard]] Outcome outcomeOf(const std::vector<std::string>& arguments,
                                  const std::string& input) const;
  [[nodiscard]] std::string shownInTerminal(std::vector<std::string> arguments,
                                            int descriptor) const;

  support::TemporaryDirectory directory_;
  std::map<std::string, std::string> environment_;
};

}  // namespace habits
