#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace habits {

/// Why a row could not be read.
struct CsvFault {
  /// The cell, counted from 1.
  std::size_t column = 0;
  std::string what;
};

/// A row of comma-separated text.
struct CsvRow {
  /// The line on which it begins, counted from 1; cells may hold line ends.
  std::size_t line = 0;
  /// With a fault, those before the faulty one.
  std::vector<std::string> cells;
  std::optional<CsvFault> fault;
};

/// Reads comma-separated text row by row, as RFC 4180 lays it down. Beyond that it takes a
/// byte-order mark at the beginning, line ends of every system, and blank lines, which are no rows.
///
/// A row that cannot be read says so, and reading goes on with the next line. A quotation mark that
/// is never closed takes the rest of the text with it.
class CsvReader {
 public:
  /// The text must stay while it is read.
  explicit CsvReader(std::string_view text);

  /// The next row; none at the end.
  [[nodiscard]] std::optional<CsvRow> next();

 private:
  [[nodiscard]] bool atLineEnd() const;
  void skipLineEnd();
  bool take(char c);
  /// Takes what stands before the first of these characters, or everything.
  std::string_view takeUpTo(std::string_view characters);
  void readCell(CsvRow& row);
  /// What is wrong with the cell, which is then incomplete; null if nothing is.
  const char* readPlain(std::string& cell);
  const char* readQuoted(std::string& cell);

  std::string_view rest_;
  std::size_t line_ = 1;
};

}  // namespace habits
