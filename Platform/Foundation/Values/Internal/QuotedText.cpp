#include "Foundation/Values/Internal/QuotedText.h"

namespace foundation {

namespace {

/// What stands for the character behind a backslash; NUL for characters that stand for themselves.
constexpr char escapeOf(char c) {
  switch (c) {
    case '"':
      return '"';
    case '\\':
      return '\\';
    case '\n':
      return 'n';
    case '\t':
      return 't';
    case '\r':
      return 'r';
    case '\0':
      return '0';
    default:
      return '\0';
  }
}

}  // namespace

void appendQuoted(std::string& to, std::string_view text) {
  to += '"';
  for (const char c : text) {
    const char escape = escapeOf(c);
    if (escape == '\0') {
      to += c;
    } else {
      to += '\\';
      to += escape;
    }
  }
  to += '"';
}

}  // namespace foundation
