#include "Foundation/Internal/Hexadecimal.h"

#include <cstddef>

namespace foundation {

namespace {
constexpr std::string_view kDigits = "0123456789abcdef";
}  // namespace

std::string hexadecimal(std::span<const std::uint8_t> bytes) {
  std::string text(bytes.size() * 2, '0');
  auto digit = text.begin();
  for (const std::uint8_t byte : bytes) {
    *digit++ = kDigits[byte >> 4];
    *digit++ = kDigits[byte & 15];
  }
  return text;
}

std::optional<std::vector<std::uint8_t>> bytesInHexadecimal(std::string_view text) {
  if (text.size() % 2 != 0) return std::nullopt;
  std::vector<std::uint8_t> bytes(text.size() / 2);
  for (std::size_t i = 0; i < text.size(); ++i) {
    const std::size_t digit = kDigits.find(text[i]);
    if (digit == std::string_view::npos) return std::nullopt;
    bytes[i / 2] = static_cast<std::uint8_t>(bytes[i / 2] * 16U + digit);
  }
  return bytes;
}

}  // namespace foundation
