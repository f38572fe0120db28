#pragma once

#include "Foundation/Values/URL.h"
#include "Tests/Processes/Companion.h"

namespace support {

/// Another process, which tries to write to a store of the newest version when it is asked, and
/// does not wait for its turn.
class Rival {
 public:
  explicit Rival(const foundation::URL& store);

  /// Whether somebody else holds the store's write lock. If nobody does, it writes.
  [[nodiscard]] bool isKeptOut();

 private:
  Companion process_;
};

}  // namespace support
