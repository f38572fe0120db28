#pragma once

#include <stdexcept>
#include <string>

#include "Foundation/Values/Error.h"

namespace habits {

/// How the program ends.
inline constexpr int kSuccess = 0;
inline constexpr int kRefused = 1;
inline constexpr int kUsage = 2;
inline constexpr int kStoreTrouble = 3;

/// What was asked for makes sense, but cannot be done: nothing there, or something there already.
class Refusal : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// What was asked for makes no sense.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// What happened to the store, to which file, and what to do about it. The path is empty when it
/// could not even be found out.
[[nodiscard]] std::string explained(const foundation::Error& error, const std::string& storePath);

}  // namespace habits
