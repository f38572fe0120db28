#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace foundation {

/// The keys of a dotted path. Throws `Error` for a text that is none: keys are words of letters,
/// digits and underscores.
[[nodiscard]] std::vector<std::string> keyPathSegments(std::string_view text);

}  // namespace foundation
