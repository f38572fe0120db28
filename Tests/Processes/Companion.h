#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>

#include "Foundation/Values/FunctionRef.h"

namespace support {

/// One end of a talk between two processes, in lines.
class Line {
 public:
  Line(int in, int out) noexcept : in_(in), out_(out) {}

  /// Throws when the other side has gone.
  void say(std::string_view text) const;
  /// The next line; none when the other side has gone.
  [[nodiscard]] std::optional<std::string> hear();
  /// Whether there is something to hear, the end included, or will be before that time is over.
  [[nodiscard]] bool hasNews(int withinMs = 0) const;

 private:
  int in_;
  int out_;
  std::string heard_;
};

/// A process that works beside this one. It is forked off, so this one must have no other threads
/// and no store open then; it does not outlive this object, nor this process. Nobody sees its
/// standard output.
class Companion {
 public:
  /// The work's end is the process's; what it throws is told on the error stream.
  explicit Companion(foundation::FunctionRef<void(Line&)> work);
  /// Waits for its end, which comes when it hears that this side has gone, or has nothing to do.
  ~Companion();
  Companion(const Companion&) = delete;
  Companion& operator=(const Companion&) = delete;

  [[nodiscard]] Line& line() noexcept { return line_; }
  /// What it says next; throws when it has ended instead, or says nothing.
  [[nodiscard]] std::string answer();
  /// Has it die at once, wherever it is.
  void kill();
  /// Whether it ended by itself, and its work returned; waits for it.
  [[nodiscard]] bool endedWell();
  /// Whether it was killed by SIGKILL; waits for it.
  [[nodiscard]] bool wasKilled();

 private:
  void hangUp() noexcept;
  int awaitEnd() noexcept;

  int in_ = -1;
  int out_ = -1;
  Line line_{-1, -1};
  pid_t process_ = -1;
  std::optional<int> status_;
};

}  // namespace support
