#pragma once

#include <string_view>

#include "Foundation/Predicate/PredicateShape.h"

namespace foundation {

/// Byte-wise text tests. With `caseInsensitive`, A to Z count as a to z.
[[nodiscard]] bool textsAreEqual(std::string_view a, std::string_view b,
                                 TextOption option) noexcept;
[[nodiscard]] bool textBeginsWith(std::string_view text, std::string_view prefix,
                                  TextOption option) noexcept;
[[nodiscard]] bool textEndsWith(std::string_view text, std::string_view suffix,
                                TextOption option) noexcept;
[[nodiscard]] bool textContains(std::string_view text, std::string_view part,
                                TextOption option) noexcept;

/// Whether the whole text is as the pattern says: `*` any run of characters, `?` one code point,
/// `\` the next one as it is (at the end, itself). Takes at most text times pattern steps and no
/// memory.
[[nodiscard]] bool textIsLike(std::string_view text, std::string_view pattern,
                              TextOption option) noexcept;

}  // namespace foundation
