#include "Tools/habits/Csv.h"

#include <utility>

#include "Foundation/Text/Characters.h"

namespace habits {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kLineEnds = "\r\n";

bool isText(std::string_view cell) {
  return cell.find('\0') == std::string_view::npos && foundation::isUtf8(cell);
}

std::size_t lineEndsIn(std::string_view text) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool isFirstOfTwo = text[i] == '\r' && text.substr(i + 1).starts_with('\n');
    if (kLineEnds.find(text[i]) != std::string_view::npos && !isFirstOfTwo) ++count;
  }
  return count;
}

}  // namespace

CsvReader::CsvReader(std::string_view text) : rest_(text) {
  if (rest_.starts_with(kByteOrderMark)) rest_.remove_prefix(kByteOrderMark.size());
}

std::optional<CsvRow> CsvReader::next() {
  while (atLineEnd()) skipLineEnd();
  if (rest_.empty()) return std::nullopt;
  CsvRow row{.line = line_, .cells = {}, .fault = std::nullopt};
  do {
    readCell(row);
  } while (!row.fault && take(','));
  if (row.fault) static_cast<void>(takeUpTo(kLineEnds));
  if (atLineEnd()) skipLineEnd();
  return row;
}

bool CsvReader::atLineEnd() const { return rest_.starts_with('\n') || rest_.starts_with('\r'); }

void CsvReader::skipLineEnd() {
  rest_.remove_prefix(rest_.starts_with("\r\n") ? 2 : 1);
  ++line_;
}

bool CsvReader::take(char c) {
  if (!rest_.starts_with(c)) return false;
  rest_.remove_prefix(1);
  return true;
}

std::string_view CsvReader::takeUpTo(std::string_view characters) {
  const std::string_view taken = rest_.substr(0, rest_.find_first_of(characters));
  rest_.remove_prefix(taken.size());
  return taken;
}

void CsvReader::readCell(CsvRow& row) {
  std::string cell;
  const char* wrong = take('"') ? readQuoted(cell) : readPlain(cell);
  if (wrong == nullptr && !isText(cell)) wrong = "this is no UTF-8 text";
  if (wrong != nullptr) {
    row.fault = CsvFault{row.cells.size() + 1, wrong};
  } else {
    row.cells.push_back(std::move(cell));
  }
}

const char* CsvReader::readPlain(std::string& cell) {
  cell = takeUpTo(",\"\r\n");
  return rest_.starts_with('"') ? "a quotation mark stands inside a cell that is not in quotes"
                                : nullptr;
}

const char* CsvReader::readQuoted(std::string& cell) {
  while (true) {
    cell += takeUpTo("\"");
    if (!take('"')) {
      line_ += lineEndsIn(cell);
      return "the quotation mark here is never closed";
    }
    if (!take('"')) break;
    cell += '"';
  }
  line_ += lineEndsIn(cell);
  const bool isWhole = rest_.empty() || rest_.starts_with(',') || atLineEnd();
  return isWhole ? nullptr : "something stands behind the closing quotation mark";
}

}  // namespace habits
