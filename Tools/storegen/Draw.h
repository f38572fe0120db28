#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace storegen {

/// A permutation of 64-bit numbers that leaves no pattern.
[[nodiscard]] constexpr std::uint64_t scattered(std::uint64_t number) noexcept {
  number += 0x9e3779b97f4a7c15U;
  number = (number ^ (number >> 30U)) * 0xbf58476d1ce4e5b9U;
  number = (number ^ (number >> 27U)) * 0x94d049bb133111ebU;
  return number ^ (number >> 31U);
}

/// A source of numbers of its own for each name, that follows from the seed.
[[nodiscard]] constexpr std::uint64_t streamOf(std::uint64_t seed, std::string_view name) noexcept {
  std::uint64_t hash = 0xcbf29ce484222325U ^ scattered(seed);
  for (const char character : name) {
    hash = (hash ^ static_cast<std::uint8_t>(character)) * 0x100000001b3U;
  }
  return scattered(hash);
}

/// Numbers that look random and follow from a stream and a position in it alone: each value of a
/// store can be made without those before it, and both sides of a relationship by themselves.
class Draw {
 public:
  constexpr Draw(std::uint64_t stream, std::uint64_t position) noexcept
      : state_(stream ^ scattered(position)) {}

  [[nodiscard]] constexpr std::uint64_t next() noexcept {
    state_ += 0x9e3779b97f4a7c15U;
    return scattered(state_);
  }
  /// From 0 to `bound` - 1.
  [[nodiscard]] constexpr std::uint64_t below(std::uint64_t bound) noexcept {
    return next() % bound;
  }
  /// True so many times of a hundred.
  [[nodiscard]] constexpr bool happens(int percent) noexcept {
    return below(100) < static_cast<std::uint64_t>(percent);
  }
  /// From 0 up to 1.
  [[nodiscard]] constexpr double fraction() noexcept {
    return static_cast<double>(next() >> 11U) * 0x1p-53;
  }
  constexpr void fill(std::span<std::uint8_t> bytes) noexcept {
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      number = i % sizeof(number) == 0 ? next() : number >> 8U;
      bytes[i] = static_cast<std::uint8_t>(number);
    }
  }

 private:
  std::uint64_t state_;
};

}  // namespace storegen
