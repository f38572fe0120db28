#include "Foundation/Values/Internal/PercentEncoding.h"

#include <algorithm>
#include <charconv>
#include <cstdint>

#include "Foundation/Internal/ASCII.h"

namespace foundation {

namespace {

constexpr bool isHexDigit(char c) {
  return ascii::isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}
constexpr bool contains(std::string_view set, char c) {
  return set.find(c) != std::string_view::npos;
}

constexpr std::string_view kUnreservedMarks = "-._~";
constexpr std::string_view kSubDelimiters = "!$&'()*+,;=";
constexpr std::string_view kPathMarks = ":@/";

constexpr bool standsForItself(char c, std::string_view further) {
  return ascii::isLetter(c) || ascii::isDigit(c) || contains(kUnreservedMarks, c) ||
         contains(kSubDelimiters, c) || contains(further, c);
}

constexpr bool startsEscape(std::string_view text, std::size_t i) {
  return text[i] == '%' && i + 2 < text.size() && isHexDigit(text[i + 1]) &&
         isHexDigit(text[i + 2]);
}

}  // namespace

bool isUrlText(std::string_view text, std::string_view further) noexcept {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (!standsForItself(text[i], further) && !startsEscape(text, i)) return false;
  }
  return true;
}

std::string percentEncodedPath(std::string_view bytes) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  const auto isPlain = [](char c) { return standsForItself(c, kPathMarks); };
  if (std::ranges::all_of(bytes, isPlain)) return std::string(bytes);
  std::string text;
  text.reserve(bytes.size());
  for (const char c : bytes) {
    if (isPlain(c)) {
      text += c;
      continue;
    }
    const auto byte = static_cast<std::uint8_t>(c);
    text += '%';
    text += kDigits[byte >> 4U];
    text += kDigits[byte & 0x0FU];
  }
  return text;
}

std::string percentDecoded(std::string_view text) {
  if (!text.contains('%')) return std::string(text);
  std::string bytes;
  bytes.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (!startsEscape(text, i)) {
      bytes += text[i];
      continue;
    }
    std::uint8_t byte = 0;
    std::from_chars(text.data() + i + 1, text.data() + i + 3, byte, 16);
    bytes += static_cast<char>(byte);
    i += 2;
  }
  return bytes;
}

}  // namespace foundation
