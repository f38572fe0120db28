#pragma once

#include <cstddef>
#include <string_view>

namespace foundation {

/// The first characters of a UTF-8 text, as many as asked for or as there are. A character is what
/// a person takes for one: a letter with its accents, a Korean syllable, a flag.
[[nodiscard]] std::string_view prefix(std::string_view text, std::size_t characters);

/// The text without the white space and line ends on both sides. The zero-width space (U+200B) is
/// not white space.
[[nodiscard]] std::string_view trimmingWhitespaceAndNewlines(std::string_view text) noexcept;

/// Whether the bytes are UTF-8 throughout.
[[nodiscard]] bool isUtf8(std::string_view bytes) noexcept;

}  // namespace foundation
