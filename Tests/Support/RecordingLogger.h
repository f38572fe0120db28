#pragma once

#include <mutex>
#include <string>
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
};

}  // namespace support
