#pragma once

#include <string>
#include <vector>

#include "Logger/Loggable.h"

namespace support {

/// Keeps the descriptions of the errors that it is handed, the first one first.
///
/// Threading: one thread at a time.
class RecordingLogger final : public logger::Loggable {
 public:
  void error(const foundation::Error& error) noexcept override {
    descriptions_.push_back(error.description());
  }
  [[nodiscard]] const std::vector<std::string>& descriptions() const noexcept {
    return descriptions_;
  }

 protected:
  ~RecordingLogger() override = default;

 private:
  std::vector<std::string> descriptions_;
};

}  // namespace support
