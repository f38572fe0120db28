#include "CoreData/Model/Compiled/Utf8.h"

#include <cstddef>
#include <cstdint>

namespace coredata {
namespace {

/// The bytes of the character that begins with `lead`, and the range of the one behind it, which is
/// what rules out overlong forms, surrogates and numbers beyond the last. A size of 0 begins no
/// character.
struct Sequence {
  std::size_t size;
  std::uint8_t least = 0x80;
  std::uint8_t greatest = 0xbf;
};

constexpr Sequence sequenceFrom(std::uint8_t lead) noexcept {
  if (lead < 0x80) return {1};
  if (lead >= 0xc2 && lead <= 0xdf) return {2};
  if (lead == 0xe0) return {3, 0xa0, 0xbf};
  if (lead == 0xed) return {3, 0x80, 0x9f};
  if (lead >= 0xe1 && lead <= 0xef) return {3};
  if (lead == 0xf0) return {4, 0x90, 0xbf};
  if (lead >= 0xf1 && lead <= 0xf3) return {4};
  if (lead == 0xf4) return {4, 0x80, 0x8f};
  return {0};
}

}  // namespace

bool isWellFormedUtf8(std::string_view text) noexcept {
  const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
  for (std::size_t i = 0; i < text.size();) {
    const auto sequence = sequenceFrom(byte(i));
    if (sequence.size == 0 || sequence.size > text.size() - i) return false;
    for (std::size_t k = 1; k < sequence.size; ++k) {
      const auto least = k == 1 ? sequence.least : std::uint8_t{0x80};
      const auto greatest = k == 1 ? sequence.greatest : std::uint8_t{0xbf};
      if (byte(i + k) < least || byte(i + k) > greatest) return false;
    }
    i += sequence.size;
  }
  return true;
}

}  // namespace coredata
