#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace habits {

/// A run of the program that has not ended, and what it writes meanwhile. It is killed when this
/// goes before it has ended.
class RunningProgram {
 public:
  /// Takes over the child and the reading end of its standard output.
  RunningProgram(pid_t child, int output) : child_(child), output_(output) {}
  RunningProgram(const RunningProgram&) = delete;
  RunningProgram& operator=(const RunningProgram&) = delete;
  ~RunningProgram();

  /// The next line, waiting for it. Throws when the program ends before it, or says nothing for
  /// longer than a busy machine explains.
  [[nodiscard]] std::string line();
  [[nodiscard]] std::vector<std::string> lines(std::size_t count);
  /// What it writes until it ends.
  [[nodiscard]] std::vector<std::string> remainingLines();

  void signal(int number) const;
  /// Nobody reads what it writes from then on.
  void closeOutput();
  /// Waits for the end, and says with what: the status, or the negative signal.
  [[nodiscard]] int status();

  [[nodiscard]] pid_t process() const { return child_; }

 private:
  /// False at the end of the output.
  [[nodiscard]] bool readMore();

  pid_t child_;
  int output_;
  std::string unread_;
  bool isReaped_ = false;
};

}  // namespace habits
