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

/// The seed of all tests of a run (`TEST_SEED`), which a test's own variable goes before; `usual`
/// where none is set.
[[nodiscard]] inline std::uint64_t runSeed(std::uint64_t usual) {
  return numberFrom("TEST_SEED", usual);
}

}  // namespace support
