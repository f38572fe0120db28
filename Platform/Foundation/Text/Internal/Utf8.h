#pragma once

#include <unicode/utf8.h>

#include <cstdint>
#include <string_view>

namespace foundation {

// ICU's macros narrow inside, which this project's warnings do not let pass.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"

/// The code point that begins at `position`, which moves behind it; negative for bytes that are no
/// UTF-8.
inline std::int32_t nextCodePoint(std::string_view text, std::int32_t& position) noexcept {
  UChar32 codePoint = 0;
  U8_NEXT(text.data(), position, static_cast<std::int32_t>(text.size()), codePoint);
  return codePoint;
}

/// The code point that ends at `position`, which moves in front of it; negative for bytes that are
/// no UTF-8.
inline std::int32_t previousCodePoint(std::string_view text, std::int32_t& position) noexcept {
  UChar32 codePoint = 0;
  U8_PREV(text.data(), 0, position, codePoint);
  return codePoint;
}

#pragma GCC diagnostic pop

}  // namespace foundation
