#pragma once

#include <concepts>
#include <cstdint>
#include <limits>
#include <span>
#include <string_view>
#include <vector>

#include "CoreData/Model/ModelError.h"

namespace coredata {

/// Puts numbers and texts behind each other: integers little-endian, counts in 16 bits before what
/// they count.
class ByteWriter {
 public:
  template <std::unsigned_integral Integer>
  void add(Integer number) {
    for (std::size_t i = 0; i < sizeof number; ++i) {
      bytes_.push_back(static_cast<std::uint8_t>(number >> (8 * i)));
    }
  }

  /// Throws when there are more than 16 bits can count.
  void addCount(std::size_t count) {
    if (count > std::numeric_limits<std::uint16_t>::max()) {
      throw modelError(ModelErrorCode::invalidModel,
                       "There is a list or a text too long to be compiled.");
    }
    add(static_cast<std::uint16_t>(count));
  }

  void addText(std::string_view text) {
    addCount(text.size());
    bytes_.insert(bytes_.end(), text.begin(), text.end());
  }

  void addBytes(std::span<const std::uint8_t> bytes) {
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
  }

  [[nodiscard]] const std::vector<std::uint8_t>& bytes() const noexcept { return bytes_; }
  [[nodiscard]] std::vector<std::uint8_t> take() && noexcept { return std::move(bytes_); }

 private:
  std::vector<std::uint8_t> bytes_;
};

}  // namespace coredata
