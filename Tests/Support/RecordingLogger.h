#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "Logger/Loggable.h"

namespace support {

/// Keeps the descriptions of the errors that it is handed, the first one first.
///
/// Threading: any thread.
class RecordingLogger final : public logger::Loggable {
 public:
  void error(const foundation::Error& error) noexcept override {
    const std::scoped_lock lock(mutex_);
    descriptions_.push_back(error.description());
    if (handler_) handler_(descriptions_.back());
  }
  /// Calls `handler` with each description too, where the error was handed over, one at a time.
  void onError(std::function<void(const std::string&)> handler) {
    const std::scoped_lock lock(mutex_);
    handler_ = std::move(handler);
  }
  [[nodiscard]] std::vector<std::string> descriptions() const {
    const std::scoped_lock lock(mutex_);
    return descriptions_;
  }

 protected:
  ~RecordingLogger() override = default;

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> descriptions_;
  std::function<void(const std::string&)> handler_;
};

}  // namespace support
