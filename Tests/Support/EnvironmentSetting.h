#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>

namespace support {

/// A number that whoever runs the tests may set in the environment: a seed, how long, how much to
/// do. Throws for what is no number.
[[nodiscard]] inline std::uint64_t environmentSetting(const char* name, std::uint64_t otherwise) {
  const char* text = std::getenv(name);
  return text == nullptr ? otherwise : std::stoull(text);
}

}  // namespace support
