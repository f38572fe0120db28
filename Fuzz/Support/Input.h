#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace fuzz {

/// An input that is read as one choice after the other. Behind its end every choice is 0.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : bytes_(data, size) {}

  [[nodiscard]] bool isAtEnd() const noexcept { return bytes_.empty(); }
  std::uint8_t byte() { return static_cast<std::uint8_t>(number(1)); }
  /// Of so many bytes, the lowest first.
  std::uint64_t number(std::size_t byteCount) {
    std::uint64_t result = 0;
    const auto digits = take(byteCount);
    for (std::size_t i = 0; i < digits.size(); ++i) {
      result |= std::uint64_t{static_cast<std::uint8_t>(digits[i])} << (8 * i);
    }
    return result;
  }
  /// At most so many bytes: fewer at the end.
  std::string_view take(std::size_t count) {
    const auto taken = bytes_.first(std::min(count, bytes_.size()));
    bytes_ = bytes_.subspan(taken.size());
    return {reinterpret_cast<const char*>(taken.data()), taken.size()};
  }
  std::string_view rest() { return take(bytes_.size()); }

 private:
  std::span<const std::uint8_t> bytes_;
};

}  // namespace fuzz
