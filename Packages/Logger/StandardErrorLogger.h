#pragma once

#include "Logger/Loggable.h"

namespace logger {

/// Writes each error to the standard error stream, as one line and one write, so that lines of
/// several threads do not mix. A closed stream is ignored.
class StandardErrorLogger final : public Loggable {
 public:
  void error(const foundation::Error& error) noexcept override;

 protected:
  ~StandardErrorLogger() override = default;
};

}  // namespace logger
