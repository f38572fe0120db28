#pragma once

#include <cstddef>
#include <string_view>

#include "Foundation/Predicate/PredicateShape.h"

namespace foundation {

/// Throws the error of a format that cannot be read: what is wrong, at which byte of the text, and
/// the text around it.
[[noreturn]] void throwFormatError(std::string_view format, std::size_t position,
                                   std::string_view problem,
                                   PredicateErrorCode code = PredicateErrorCode::invalidFormat);

/// Throws the error of arguments that do not fit. `problem` must not show their values.
[[noreturn]] void throwArgumentError(std::string_view format, std::string_view problem);

/// Whether the text is valid UTF-8 throughout; if not, `position` is set to the first byte that is
/// wrong.
[[nodiscard]] bool isValidUtf8(std::string_view text, std::size_t& position) noexcept;

}  // namespace foundation
