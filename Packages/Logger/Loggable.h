#pragma once

#include "Foundation/Values/Error.h"
#include "Foundation/Values/Object.h"

namespace logger {

/// Where errors go that are not handed to a caller.
///
/// Threading: called on any thread, also on several at once.
class Loggable : public foundation::Object {
 public:
  /// Takes note of an error. Must not throw: it is called where nobody is left to catch.
  virtual void error(const foundation::Error& error) noexcept = 0;

 protected:
  Loggable() = default;
  ~Loggable() override = default;
};

}  // namespace logger
