#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace foundation {

/// Appends a number, a text or a truth value as JSON says it. Throws `nlohmann::json::type_error`
/// for a text that is not UTF-8.
///
/// Lists and objects are never made of the parser's own values: the destructors of those take
/// memory, and stop the process when there is none.
template <typename T>
void appendJSON(std::string& text, const T& scalar) {
  text += nlohmann::json(scalar).dump(-1, ' ', false, nlohmann::json::error_handler_t::strict);
}

}  // namespace foundation
