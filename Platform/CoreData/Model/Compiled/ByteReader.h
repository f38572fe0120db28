#pragma once

#include <concepts>
#include <cstdint>
#include <span>
#include <string_view>

#include "CoreData/Model/ModelError.h"

namespace coredata {

/// Takes apart what a `ByteWriter` wrote. Every step looks at how many bytes are left and throws an
/// `Error` of code `ModelErrorCode::damaged` instead of passing the end.
class ByteReader {
 public:
  explicit ByteReader(std::span<const std::uint8_t> bytes) noexcept : rest_(bytes) {}

  [[nodiscard]] std::span<const std::uint8_t> takeBytes(std::size_t size) {
    if (size > rest_.size()) fail("it ends too early");
    const auto bytes = rest_.first(size);
    rest_ = rest_.subspan(size);
    return bytes;
  }

  template <std::unsigned_integral Integer>
  [[nodiscard]] Integer take() {
    Integer number = 0;
    const auto bytes = takeBytes(sizeof number);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      number = static_cast<Integer>(number | static_cast<Integer>(Integer{bytes[i]} << (8 * i)));
    }
    return number;
  }

  /// A count of things of at least `leastSize` bytes each: one that what is left cannot hold is
  /// refused before anything is made room for.
  [[nodiscard]] std::size_t takeCount(std::size_t leastSize) {
    const std::size_t count = take<std::uint16_t>();
    if (count > rest_.size() / leastSize) fail("it counts more than it holds");
    return count;
  }

  [[nodiscard]] std::string_view takeText() {
    const auto bytes = takeBytes(take<std::uint16_t>());
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
  }

  [[nodiscard]] bool isAtEnd() const noexcept { return rest_.empty(); }

  [[noreturn]] static void fail(std::string_view what) {
    throw modelError(ModelErrorCode::damaged,
                     "The compiled file is damaged: " + std::string(what) + ".");
  }

 private:
  std::span<const std::uint8_t> rest_;
};

}  // namespace coredata
