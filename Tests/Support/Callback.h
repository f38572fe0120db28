#pragma once

#include <functional>
#include <mutex>
#include <utility>

namespace support {

/// A function that others call until it is taken away, one at a time. To be shared with those who
/// call it, who may be about to when its owner ends.
///
/// Threading: any thread. `set` waits for a call that goes on, so it is not for use in one.
template <typename... Arguments>
class Callback {
 public:
  using Function = std::function<void(Arguments...)>;

  Callback() = default;
  explicit Callback(Function function) : function_(std::move(function)) {}

  void set(Function function) {
    const std::scoped_lock lock(mutex_);
    function_ = std::move(function);
  }
  /// When this returns nobody calls it any more.
  void takeAway() { set(nullptr); }
  void operator()(Arguments... arguments) const {
    const std::scoped_lock lock(mutex_);
    if (function_) function_(arguments...);
  }

 private:
  mutable std::mutex mutex_;
  Function function_;
};

}  // namespace support
