#include "Foundation/Predicate/Internal/FormatLexer.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

#include "Foundation/Internal/ASCII.h"
#include "Foundation/Predicate/Internal/FormatError.h"

namespace foundation {
namespace {

bool isKeyStart(char c) noexcept {
  return ascii::isLetter(c) || c == '_' || static_cast<unsigned char>(c) >= 0x80;
}

bool isKeyCharacter(char c) noexcept { return isKeyStart(c) || ascii::isDigit(c); }

bool isSpace(char c) noexcept { return c == ' ' || (c >= '\t' && c <= '\r'); }

/// Longer ones first, so that `<=` is not read as `<`.
constexpr std::array<std::string_view, 21> kSymbols = {"==", "!=", "<>", "<=", "=<", ">=", "=>",
                                                       "&&", "||", "=",  "<",  ">",  "!",  "(",
                                                       ")",  "{",  "}",  "[",  "]",  ",",  "."};

constexpr std::array<std::pair<std::string_view, ArgumentSpecifier>, 19> kSpecifiers = {{
    {"@", ArgumentSpecifier::value},   {"d", ArgumentSpecifier::int32},
    {"i", ArgumentSpecifier::int32},   {"hd", ArgumentSpecifier::int32},
    {"hi", ArgumentSpecifier::int32},  {"ld", ArgumentSpecifier::int64},
    {"li", ArgumentSpecifier::int64},  {"lld", ArgumentSpecifier::int64},
    {"lli", ArgumentSpecifier::int64}, {"qd", ArgumentSpecifier::int64},
    {"u", ArgumentSpecifier::uint32},  {"hu", ArgumentSpecifier::uint32},
    {"lu", ArgumentSpecifier::uint64}, {"llu", ArgumentSpecifier::uint64},
    {"qu", ArgumentSpecifier::uint64}, {"f", ArgumentSpecifier::real},
    {"lf", ArgumentSpecifier::real},   {"g", ArgumentSpecifier::real},
    {"lg", ArgumentSpecifier::real},
}};

}  // namespace

bool FormatToken::isKeyword(std::string_view keyword) const noexcept {
  return kind == Kind::word && std::ranges::equal(spelling, keyword, {}, ascii::uppered);
}

bool isKeyWord(std::string_view word) noexcept {
  return !word.empty() && isKeyStart(word.front()) && std::ranges::all_of(word, isKeyCharacter);
}

FormatLexer::FormatLexer(std::string_view format) : format_(format) {
  std::size_t damage = 0;
  if (!isValidUtf8(format, damage)) throwFormatError(format, damage, "the text is not UTF-8");
}

FormatToken FormatLexer::next() {
  while (position_ < format_.size() && isSpace(format_[position_])) ++position_;
  if (position_ == format_.size()) return tokenHere(FormatToken::Kind::end);
  const char c = format_[position_];
  if (isKeyStart(c)) return lexWord(FormatToken::Kind::word, position_);
  if (c == '#') return lexWord(FormatToken::Kind::key, position_ + 1);
  if (c == '$') return lexWord(FormatToken::Kind::variable, position_ + 1);
  if (c == '@') return lexWord(FormatToken::Kind::collectionWord, position_ + 1);
  if (c == '\'' || c == '"') return lexText();
  if (c == '%') return lexPlaceholder();
  if (ascii::isDigit(c) || (c == '-' && ascii::isDigit(at(position_ + 1)))) return lexNumber();
  return lexSymbol();
}

FormatToken FormatLexer::tokenHere(FormatToken::Kind kind) const {
  FormatToken token;
  token.kind = kind;
  token.position = position_;
  return token;
}

FormatToken FormatLexer::lexWord(FormatToken::Kind kind, std::size_t wordStart) {
  if (!isKeyStart(at(wordStart))) throwFormatError(format_, wordStart, "expected a word");
  std::size_t end = wordStart;
  while (end < format_.size() && isKeyCharacter(format_[end])) ++end;
  FormatToken token = tokenHere(kind);
  token.spelling = format_.substr(wordStart, end - wordStart);
  position_ = end;
  return token;
}

FormatToken FormatLexer::lexText() {
  FormatToken token = tokenHere(FormatToken::Kind::text);
  const char quote = format_[position_++];
  while (at(position_) != quote) {
    if (position_ == format_.size()) {
      throwFormatError(format_, token.position, "the quoted text has no end");
    }
    const char c = format_[position_++];
    // A percent sign may be doubled, as everywhere in a format; a single one has no meaning inside
    // a text.
    if (c == '%' && at(position_) == '%') ++position_;
    token.text += c == '\\' ? escapedCharacter() : c;
  }
  ++position_;
  return token;
}

char FormatLexer::escapedCharacter() {
  static constexpr std::string_view kNames = "\\'\"ntr0";
  static constexpr std::string_view kCharacters{"\\'\"\n\t\r\0", kNames.size()};
  const std::size_t index = kNames.find(at(position_));
  if (position_ == format_.size() || index == std::string_view::npos) {
    throwFormatError(format_, position_, "expected one of \\ ' \" n t r 0 after the backslash");
  }
  ++position_;
  return kCharacters[index];
}

FormatToken FormatLexer::lexNumber() {
  FormatToken token = tokenHere(FormatToken::Kind::number);
  const std::size_t start = position_;
  const auto skipDigits = [this] {
    if (!ascii::isDigit(at(position_))) throwFormatError(format_, position_, "expected a digit");
    while (ascii::isDigit(at(position_))) ++position_;
  };
  bool isReal = false;
  if (at(position_) == '-') ++position_;
  skipDigits();
  if (at(position_) == '.') {
    isReal = true;
    ++position_;
    skipDigits();
  }
  if (at(position_) == 'e' || at(position_) == 'E') {
    isReal = true;
    ++position_;
    if (at(position_) == '+' || at(position_) == '-') ++position_;
    skipDigits();
  }
  if (isKeyCharacter(at(position_))) {
    throwFormatError(format_, position_, "expected the end of the number");
  }

  const char* const first = format_.data() + start;
  const char* const last = format_.data() + position_;
  std::int64_t integer = 0;
  double real = 0;
  const std::errc problem =
      isReal ? std::from_chars(first, last, real).ec : std::from_chars(first, last, integer).ec;
  if (problem != std::errc()) throwFormatError(format_, start, "the number is out of range");
  token.number = isReal ? NSNumber(real) : NSNumber(integer);
  return token;
}

FormatToken FormatLexer::lexPlaceholder() {
  FormatToken token = tokenHere(FormatToken::Kind::argument);
  std::size_t end = ++position_;
  if (at(end) == '@' || at(end) == 'K') {
    ++end;
  } else {
    while (isKeyCharacter(at(end))) ++end;
  }
  const std::string_view letters = format_.substr(position_, end - position_);
  position_ = end;
  if (letters == "K") {
    token.kind = FormatToken::Kind::keyPathArgument;
    return token;
  }
  const auto* const specifier =
      std::ranges::find(kSpecifiers, letters, &decltype(kSpecifiers)::value_type::first);
  if (specifier == kSpecifiers.end()) {
    throwFormatError(format_, token.position,
                     "expected a placeholder such as %@, %d, %ld, %lf or %K (a percent sign is "
                     "written inside a quoted text)");
  }
  token.specifier = specifier->second;
  return token;
}

FormatToken FormatLexer::lexSymbol() {
  const std::string_view rest = format_.substr(position_);
  const auto* const symbol =
      std::ranges::find_if(kSymbols, [rest](std::string_view s) { return rest.starts_with(s); });
  if (symbol == kSymbols.end()) throwFormatError(format_, position_, "unexpected character");
  FormatToken token = tokenHere(FormatToken::Kind::symbol);
  token.spelling = *symbol;
  position_ += symbol->size();
  return token;
}

std::vector<bool> keyPathPlaceholders(std::string_view format) {
  std::vector<bool> result;
  FormatLexer lexer(format);
  for (FormatToken token = lexer.next(); token.kind != FormatToken::Kind::end;
       token = lexer.next()) {
    const bool isKeyPath = token.kind == FormatToken::Kind::keyPathArgument;
    if (isKeyPath || token.kind == FormatToken::Kind::argument) result.push_back(isKeyPath);
  }
  return result;
}

}  // namespace foundation
