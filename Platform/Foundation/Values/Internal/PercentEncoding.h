#pragma once

#include <string>
#include <string_view>

namespace foundation {

/// Whether every byte is one that a part of a URL may hold as it is: an unreserved character, a
/// sub-delimiter, one of `further`, or a percent sign with two hexadecimal digits.
[[nodiscard]] bool isUrlText(std::string_view text, std::string_view further) noexcept;

/// The bytes with everything escaped that a path may not hold as it is.
[[nodiscard]] std::string percentEncodedPath(std::string_view bytes);

/// The bytes that an escaped text stands for.
[[nodiscard]] std::string percentDecoded(std::string_view text);

}  // namespace foundation
