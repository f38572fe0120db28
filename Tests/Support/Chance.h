#pragma once

#include <cstdint>
#include <random>

namespace support {

/// What chance decides with: the same for the same seed.
using Chance = std::mt19937_64;

/// A number below `bound`.
[[nodiscard]] inline std::uint64_t below(Chance& chance, std::uint64_t bound) {
  return std::uniform_int_distribution<std::uint64_t>(0, bound - 1)(chance);
}

}  // namespace support
