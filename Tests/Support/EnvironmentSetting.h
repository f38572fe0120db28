#pragma once

#include <cstdint>
#include <cstdlib>

namespace support {

/// A number that whoever runs the tests may set in the environment: a seed, or how much to do.
[[nodiscard]] inline std::uint64_t environmentSetting(const char* name, std::uint64_t otherwise) {
  const char* text = std::getenv(name);
  return text == nullptr ? otherwise : std::strtoull(text, nullptr, 10);
}

}  // namespace support
