#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace support {

/// An environment variable with another value, or without one, for as long as this lives.
class ScopedVariable {
 public:
  ScopedVariable(const char* name, const char* value) : name_(name) {
    if (const char* before = std::getenv(name)) before_ = before;
    assign(value);
  }
  ScopedVariable(const ScopedVariable&) = delete;
  ScopedVariable& operator=(const ScopedVariable&) = delete;
  ~ScopedVariable() { assign(before_ ? before_->c_str() : nullptr); }

 private:
  void assign(const char* value) const {
    value != nullptr ? ::setenv(name_, value, 1) : ::unsetenv(name_);
  }

  const char* name_;
  std::optional<std::string> before_;
};

}  // namespace support
