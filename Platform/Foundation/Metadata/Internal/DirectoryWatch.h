#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "Foundation/Values/Object.h"

namespace foundation {

/// Calls a function, on a thread of its own, after entries of a directory or of one below it have
/// come, gone or been renamed, and after each interval in which nothing was told.
///
/// Changes after the constructor has returned are not missed where the system tells of them; those
/// that follow closely on each other make one call.
class DirectoryWatch final : public Object {
 public:
  /// Throws `std::system_error` when the system gives no thread.
  DirectoryWatch(std::string directory, std::chrono::milliseconds interval,
                 std::function<void()> changed);
  /// Waits for a call that is under way, unless that call drops the last handle.
  ~DirectoryWatch() override;

 private:
  struct State;

  std::shared_ptr<State> state_;
};

}  // namespace foundation
