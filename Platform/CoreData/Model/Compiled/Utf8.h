#pragma once

#include <string_view>

namespace coredata {

/// Whether a text is UTF-8 as the standard has it: no overlong forms, no surrogates, nothing beyond
/// U+10FFFF.
[[nodiscard]] bool isWellFormedUtf8(std::string_view text) noexcept;

}  // namespace coredata
