#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include "Foundation/Values/FunctionRef.h"

namespace support {

/// By which the child tells its parent how far it has come. What was acknowledged has reached the
/// parent even if the child is killed right afterwards.
class Acknowledgements {
 public:
  explicit Acknowledgements(int pipe) noexcept : pipe_(pipe) {}
  /// One line; no line breaks in it.
  void send(std::string_view text) const;

 private:
  int pipe_;
};

struct ChildOutcome {
  std::vector<std::string> acknowledged;
  /// The signal that ended the child, 0 when it ended by itself.
  int signal = 0;
  /// The child's exit status: 0 after `work` returned, 70 after it threw.
  int exitStatus = 0;
  /// Whether the child had to be stopped because its time was up.
  bool timedOut = false;

  [[nodiscard]] bool wasKilled() const noexcept { return signal != 0 && !timedOut; }
};

/// Runs `work` in a child process with a group of its own, to be killed in the middle of it. No
/// process of that group outlives the call, or this process.
///
/// Threading: this process must have no other threads, and no store open that the child would use.
[[nodiscard]] ChildOutcome runInChild(foundation::FunctionRef<void(const Acknowledgements&)> work,
                                      std::chrono::milliseconds timeout = std::chrono::seconds(20));

}  // namespace support
