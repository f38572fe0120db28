#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <utility>

namespace foundation {

// What writes JSON puts it together as text. Lists and objects are never made of the parser's own
// values: the destructors of those take memory, and stop the process when there is none.

/// Appends a number, a text or a truth value as JSON says it. Throws `nlohmann::json::type_error`
/// for a text that is not UTF-8.
template <typename T>
void appendJSON(std::string& text, const T& scalar) {
  text += nlohmann::json(scalar).dump(-1, ' ', false, nlohmann::json::error_handler_t::strict);
}

/// Appends a list, each element of which `append` appends.
template <typename List, typename Append>
void appendJSONList(std::string& text, const List& list, Append&& append) {
  const char* separator = "[";
  for (const auto& element : list) {
    text += std::exchange(separator, ",");
    append(element);
  }
  text += list.empty() ? "[]" : "]";
}

/// Appends an object of what is under each key, which `append` appends.
template <typename Dictionary, typename Append>
void appendJSONObject(std::string& text, const Dictionary& dictionary, Append&& append) {
  const char* separator = "{";
  for (const auto& [key, value] : dictionary) {
    text += std::exchange(separator, ",");
    appendJSON(text, key);
    text += ':';
    append(value);
  }
  text += dictionary.empty() ? "{}" : "}";
}

}  // namespace foundation
