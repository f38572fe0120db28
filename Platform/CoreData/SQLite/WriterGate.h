#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace coredata {

/// Lets one writer of this process in at a time, so that the others sleep until it is done instead
/// of asking the file for its lock again and again.
///
/// A thread that comes twice waits for itself in vain, and is turned away when the time is up.
class WriterGate {
 public:
  /// False when the writer inside has not left in time.
  [[nodiscard]] bool enter(std::chrono::milliseconds timeout) {
    std::unique_lock lock(mutex_);
    if (!left_.wait_for(lock, timeout, [this] { return !occupied_; })) return false;
    occupied_ = true;
    return true;
  }
  void leave() noexcept {
    {
      const std::scoped_lock lock(mutex_);
      occupied_ = false;
    }
    left_.notify_one();
  }

 private:
  std::mutex mutex_;
  std::condition_variable left_;
  bool occupied_ = false;
};

}  // namespace coredata
