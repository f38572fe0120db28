#pragma once

#include <array>
#include <cstdint>

namespace foundation {

namespace detail {
/// "00" to "99", one after the other.
inline constexpr auto kDigitPairs = [] {
  std::array<char, 200> pairs{};
  for (std::size_t i = 0; i < 100; ++i) {
    pairs[2 * i] = static_cast<char>('0' + i / 10);
    pairs[2 * i + 1] = static_cast<char>('0' + i % 10);
  }
  return pairs;
}();
}  // namespace detail

/// Writes a number below 100 as two digits and returns where they end.
inline char* writeTwoDigits(char* to, std::uint32_t value) noexcept {
  to[0] = detail::kDigitPairs[2 * value];
  to[1] = detail::kDigitPairs[2 * value + 1];
  return to + 2;
}

/// Writes a number below 10,000 as four digits and returns where they end.
inline char* writeFourDigits(char* to, std::uint32_t value) noexcept {
  return writeTwoDigits(writeTwoDigits(to, value / 100), value % 100);
}

}  // namespace foundation
