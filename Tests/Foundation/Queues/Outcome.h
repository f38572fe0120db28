#pragma once

#include <condition_variable>
#include <mutex>
#include <optional>
#include <utility>

namespace foundation {

/// What a block on another thread tells the test that waits for it. It may be destroyed as soon as
/// `get` has returned, which a promise on the test's stack may not.
template <typename T>
class Outcome {
 public:
  void give(T value) {
    const std::scoped_lock guard(mutex_);
    value_ = std::move(value);
    given_.notify_all();
  }

  [[nodiscard]] T get() {
    std::unique_lock lock(mutex_);
    given_.wait(lock, [this] { return value_.has_value(); });
    return *value_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable given_;
  std::optional<T> value_;
};

}  // namespace foundation
