#include "Foundation/Values/UUID.h"

#include <cstring>

#include "Foundation/Internal/RandomSource.h"

namespace foundation {

namespace {

constexpr std::size_t kTextSize = 36;

constexpr bool hasHyphenAt(std::size_t position) {
  return position == 8 || position == 13 || position == 18 || position == 23;
}

/// The value of a hexadecimal digit in either case, or -1.
constexpr int digitValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

UUID::UUID() {
  RandomSource::fillBytes(bytes_);
  bytes_[6] = static_cast<std::uint8_t>((bytes_[6] & 0x0FU) | 0x40U);
  bytes_[8] = static_cast<std::uint8_t>((bytes_[8] & 0x3FU) | 0x80U);
}

std::optional<UUID> UUID::fromString(std::string_view text) noexcept {
  if (text.size() != kTextSize) return std::nullopt;
  Bytes bytes{};
  std::size_t digits = 0;
  for (std::size_t i = 0; i < kTextSize; ++i) {
    if (hasHyphenAt(i)) {
      if (text[i] != '-') return std::nullopt;
      continue;
    }
    const int value = digitValue(text[i]);
    if (value < 0) return std::nullopt;
    std::uint8_t& byte = bytes[digits / 2];
    byte = static_cast<std::uint8_t>(byte << 4U | value);
    ++digits;
  }
  return UUID(bytes);
}

const UUID& UUID::empty() {
  static const UUID identifier = *fromString("00000000-0000-0000-0000-000000000000");
  return identifier;
}

std::string UUID::uuidString() const {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string text;
  text.reserve(kTextSize);
  for (const std::uint8_t byte : bytes_) {
    if (hasHyphenAt(text.size())) text += '-';
    text += kDigits[byte >> 4U];
    text += kDigits[byte & 0x0FU];
  }
  return text;
}

}  // namespace foundation

std::size_t std::hash<foundation::UUID>::operator()(
    const foundation::UUID& identifier) const noexcept {
  std::uint64_t high = 0;
  std::uint64_t low = 0;
  std::memcpy(&high, identifier.bytes().data(), sizeof high);
  std::memcpy(&low, identifier.bytes().data() + sizeof high, sizeof low);
  // Most identifiers are random bytes; the multiplication spreads those that somebody counted up.
  return static_cast<std::size_t>((high ^ low) * 0x9E3779B97F4A7C15U);
}
