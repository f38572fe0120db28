#pragma once

#include <string>
#include <vector>

namespace habits {

/// Rows of texts in columns, for a terminal: characters of East Asia take two places, and control
/// characters show as "?", so that a title cannot steer the terminal.
class Table {
 public:
  void add(std::vector<std::string> row);
  /// The rows, one a line, without blanks at the end of any.
  [[nodiscard]] std::string text() const;

 private:
  std::vector<std::vector<std::string>> rows_;
};

/// The text with "?" for control characters other than line ends, so that it cannot steer the
/// terminal.
[[nodiscard]] std::string withoutControls(std::string text);

/// How many places of a terminal a UTF-8 text takes.
[[nodiscard]] std::size_t displayWidth(const std::string& text);

}  // namespace habits
