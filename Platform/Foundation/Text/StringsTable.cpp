#include "Foundation/Text/StringsTable.h"

#include <algorithm>
#include <utility>

#include "Foundation/Values/Error.h"

// table := { quoted "=" quoted ";" }

namespace foundation {

namespace {

constexpr std::int64_t kDamagedTableCode = 5101;

class Reader {
 public:
  explicit Reader(std::string_view text) : text_(text) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (text_.starts_with(kByteOrderMark)) position_ = kByteOrderMark.size();
    skipBlanks();
  }

  [[nodiscard]] bool atEnd() const { return position_ == text_.size(); }

  void expect(char c) {
    if (atEnd() || text_[position_] != c) fail(std::string("expected '") + c + "'");
    ++position_;
    skipBlanks();
  }

  [[nodiscard]] std::string quoted() {
    if (atEnd() || text_[position_] != '"') fail("expected a text in double quotes");
    ++position_;
    std::string result;
    while (!atEnd() && text_[position_] != '"') result += character();
    if (atEnd()) fail("the text has no closing quote");
    ++position_;
    skipBlanks();
    return result;
  }

 private:
  char character() {
    const char c = text_[position_++];
    if (c != '\\') return c;
    if (atEnd()) fail("the text has no closing quote");
    switch (text_[position_++]) {
      case '"':
        return '"';
      case '\\':
        return '\\';
      case 'n':
        return '\n';
      case 't':
        return '\t';
      case 'r':
        return '\r';
      default:
        fail("unknown character after a backslash");
    }
  }

  void skipBlanks() {
    for (;;) {
      const std::string_view rest = text_.substr(position_);
      if (rest.starts_with("//")) {
        position_ = std::min(text_.find('\n', position_), text_.size());
      } else if (rest.starts_with("/*")) {
        const std::size_t end = text_.find("*/", position_ + 2);
        if (end == std::string_view::npos) fail("the comment has no end");
        position_ = end + 2;
      } else if (!rest.empty() &&
                 std::string_view(" \t\r\n").find(rest.front()) != std::string_view::npos) {
        ++position_;
      } else {
        return;
      }
    }
  }

  [[noreturn]] void fail(const std::string& reason) const {
    const auto line = 1 + std::ranges::count(text_.substr(0, position_), '\n');
    throw Error(std::string(kCocoaErrorDomain), kDamagedTableCode,
                "line " + std::to_string(line) + ": " + reason);
  }

  std::string_view text_;
  std::size_t position_ = 0;
};

}  // namespace

StringsTable StringsTable::parse(std::string_view text) {
  StringsTable table;
  Reader reader(text);
  while (!reader.atEnd()) {
    std::string key = reader.quoted();
    reader.expect('=');
    std::string value = reader.quoted();
    reader.expect(';');
    table.entries_.insert_or_assign(std::move(key), std::move(value));
  }
  return table;
}

std::optional<std::string_view> StringsTable::find(std::string_view key) const {
  const auto found = entries_.find(key);
  if (found == entries_.end()) return std::nullopt;
  return found->second;
}

}  // namespace foundation
