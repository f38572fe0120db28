#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace fuzz {

/// A row of comma-separated text with every cell in quotes, which says exactly what it holds.
inline std::string csvLine(const std::vector<std::string>& cells) {
  std::string text;
  for (const std::string& cell : cells) {
    text += text.empty() ? "\"" : ",\"";
    for (const char c : cell) text += c == '"' ? "\"\"" : std::string(1, c);
    text += '"';
  }
  return text + "\r\n";
}

}  // namespace fuzz
