#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace foundation {

/// A 128-bit identifier (RFC 4122), 16 bytes in network order.
class UUID {
 public:
  static constexpr std::size_t kSize = 16;
  using Bytes = std::array<std::uint8_t, kSize>;

  /// A random one (version 4) from the system's random source.
  UUID();
  constexpr explicit UUID(const Bytes& bytes) noexcept : bytes_(bytes) {}
  /// The 36-character form in either case; none for anything else.
  [[nodiscard]] static std::optional<UUID> fromString(std::string_view text) noexcept;
  /// The all-zero identifier, which stands for a missing one.
  [[nodiscard]] static const UUID& empty();

  [[nodiscard]] constexpr const Bytes& bytes() const noexcept { return bytes_; }
  /// Upper-case hexadecimal with hyphens, 36 characters.
  [[nodiscard]] std::string uuidString() const;

  friend constexpr auto operator<=>(const UUID&, const UUID&) noexcept = default;

 private:
  Bytes bytes_;
};

}  // namespace foundation

template <>
struct std::hash<foundation::UUID> {
  std::size_t operator()(const foundation::UUID& identifier) const noexcept;
};
