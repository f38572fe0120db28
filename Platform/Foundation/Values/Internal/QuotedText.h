#pragma once

#include <string>
#include <string_view>

namespace foundation {

/// Appends a text in double quotes, with the characters that would end it or break the line
/// escaped.
void appendQuoted(std::string& to, std::string_view text);

}  // namespace foundation
