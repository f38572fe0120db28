#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>

namespace support {

/// A number that whoever runs the tests may set in the environment: a seed, how long, how much to
/// do. Throws for what is no number.
[[nodiscard]] inline std::uint64_t numberFrom(const char* variable, std::uint64_t otherwise) {
  const char* text = std::getenv(variable);
  return text == nullptr ? otherwise : std::stoull(text);
}

}  // namespace support
