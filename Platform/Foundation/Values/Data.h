#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

namespace foundation {

/// Immutable bytes, shared between copies: copying costs a count, never the bytes.
class Data {
 public:
  Data() noexcept = default;
  explicit Data(std::vector<std::uint8_t> bytes);
  /// Copies the bytes.
  explicit Data(std::span<const std::uint8_t> bytes);
  /// Bytes that lie in something else's memory. The handle keeps that as it is.
  explicit Data(std::shared_ptr<const std::span<const std::uint8_t>> bytes) noexcept;
  [[nodiscard]] static Data fromText(std::string_view text);

  [[nodiscard]] std::span<const std::uint8_t> bytes() const noexcept {
    return bytes_ ? *bytes_ : std::span<const std::uint8_t>();
  }
  [[nodiscard]] std::size_t size() const noexcept { return bytes().size(); }
  [[nodiscard]] bool empty() const noexcept { return size() == 0; }
  /// The bytes seen as characters; nothing is checked.
  [[nodiscard]] std::string_view text() const noexcept;

  friend bool operator==(const Data& a, const Data& b) noexcept;

 private:
  std::shared_ptr<const std::span<const std::uint8_t>> bytes_;
};

}  // namespace foundation
