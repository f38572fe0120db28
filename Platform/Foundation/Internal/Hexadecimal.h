#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace foundation {

/// Bytes as text, two lower-case digits each.
[[nodiscard]] std::string hexadecimal(std::span<const std::uint8_t> bytes);
/// The bytes that such a text stands for; none for any other text.
[[nodiscard]] std::optional<std::vector<std::uint8_t>> bytesInHexadecimal(std::string_view text);

}  // namespace foundation
