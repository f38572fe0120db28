#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "Fuzz/Support/CsvText.h"
#include "Tools/habits/Csv.h"

namespace {

using Cells = std::vector<std::string>;

constexpr std::size_t kLongestInput = 64 * 1024;

/// The rows without a fault, whose lines must go up.
std::vector<Cells> wholeRows(std::string_view text) {
  habits::CsvReader reader(text);
  std::vector<Cells> rows;
  std::size_t lastLine = 0;
  while (const auto row = reader.next()) {
    if (row->line <= lastLine) std::abort();
    lastLine = row->line;
    if (!row->fault) rows.push_back(row->cells);
  }
  return rows;
}

}  // namespace

/// Whatever is read is read again from the same rows with every cell in quotes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > kLongestInput) return 0;
  const auto rows = wholeRows(std::string_view(reinterpret_cast<const char*>(data), size));
  std::string text;
  for (const Cells& row : rows) text += fuzz::csvLine(row);
  if (wholeRows(text) != rows) std::abort();
  return 0;
}
