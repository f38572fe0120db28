#pragma once

#include <span>
#include <string>

namespace foundation {

/// A list of texts as it is printed: `["a", "b"]`, and `[]` for none. Quotes, backslashes and
/// characters that break the line are escaped.
[[nodiscard]] std::string description(std::span<const std::string> texts);

}  // namespace foundation
