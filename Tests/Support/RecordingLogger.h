#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "Logger/Loggable.h"
#include "Tests/Support/Callback.h"

namespace support {

/// Keeps the descriptions of the errors that it is handed, the first one first.
///
/// Threading: any thread.
class RecordingLogger final : public logger::Loggable {
 public:
  void error(const foundation::Error& error) noexcept override {
    const std::string description = error.description();
    {
      const std::scoped_lock lock(mutex_);
      descriptions_.push_back(description);
    }
    handler_(description);
  }
  /// Calls `handler` with each description too, where the error was handed over, one at a time.
  void onError(std::function<void(const std::string&)> handler) {
    handler_.set(std::move(handler));
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
  Callback<const std::string&> handler_;
};

}  // namespace support
