#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <system_error>

#include "CoreData/Migration/Mapping/MappingError.h"
#include "CoreData/Migration/Mapping/MappingExpression.h"

// expression := "null" | "true" | "false" | number | text | path | call
// number     := "-"? digit+ ("." digit+)? (("e" | "E") ("+" | "-")? digit+)?
// text       := "'" character* "'" | '"' character* '"'
// path       := variable ("." word)*
// call       := "FUNCTION" "(" variable "," text ("," expression)* ")"
// variable   := "$source" | "$destination" | "$manager" | "$entityPolicy"
//
// Blanks may stand between all of these, but not inside a number, a path or a word.

namespace coredata {
namespace {

using foundation::Value;
using Variable = MappingExpression::Variable;

constexpr std::array kVariables = {Variable::source, Variable::destination, Variable::manager,
                                   Variable::entityPolicy};

constexpr bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }
constexpr bool isWordCharacter(char c) { return isLetter(c) || isDigit(c) || c == '_'; }
constexpr bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
constexpr bool hasKeys(Variable v) { return v == Variable::source || v == Variable::destination; }

bool isWord(std::string_view text) {
  return !text.empty() && !isDigit(text.front()) && std::ranges::all_of(text, isWordCharacter);
}

/// Whether a selector names a call: a word alone, or words each with a colon behind it.
bool isSelector(std::string_view selector) {
  if (isWord(selector)) return true;
  if (!selector.ends_with(':')) return false;
  while (!selector.empty()) {
    const auto colon = selector.find(':');
    if (!isWord(selector.substr(0, colon))) return false;
    selector.remove_prefix(colon + 1);
  }
  return true;
}

class Parser {
 public:
  explicit Parser(std::string_view text) : text_(text) {}

  MappingExpression parse() {
    if (text_.size() > MappingExpression::kLongestText) fail("the text is too long");
    auto expression = readExpression(0);
    skipBlanks();
    if (!isAtEnd()) fail("the expression ends before this");
    return expression;
  }

 private:
  [[noreturn]] void fail(const std::string& what) const { failAt(place_, what); }
  [[noreturn]] void failAt(std::size_t place, const std::string& what) const {
    throw mappingError(MappingErrorCode::unreadableExpression,
                       "The value expression \"" + std::string(text_.substr(0, 200)) +
                           "\" is wrong at character " + std::to_string(place + 1) + ": " + what +
                           ".");
  }

  [[nodiscard]] bool isAtEnd() const { return place_ == text_.size(); }
  [[nodiscard]] char peek() const { return isAtEnd() ? '\0' : text_[place_]; }

  void skipBlanks() {
    while (!isAtEnd() && isBlank(peek())) ++place_;
  }

  bool take(char character) {
    if (isAtEnd() || peek() != character) return false;
    ++place_;
    return true;
  }

  void require(char character) {
    skipBlanks();
    if (!take(character)) fail(std::string("expected ") + character);
  }

  template <typename Belongs>
  std::string_view takeWhile(Belongs belongs) {
    const auto start = place_;
    while (!isAtEnd() && belongs(peek())) ++place_;
    return text_.substr(start, place_ - start);
  }

  MappingExpression readExpression(int depth) {
    if (depth > MappingExpression::kGreatestDepth) fail("calls lie too deep in each other");
    skipBlanks();
    const char first = peek();
    if (first == '$') return readPath();
    if (first == '\'' || first == '"') return MappingExpression(Value(readText()));
    if (first == '-' || isDigit(first)) return MappingExpression(readNumber());
    return readWord(depth);
  }

  MappingExpression readWord(int depth) {
    const auto start = place_;
    const auto word = takeWhile(isWordCharacter);
    if (word == "null") return MappingExpression(Value());
    if (word == "true") return MappingExpression(Value(true));
    if (word == "false") return MappingExpression(Value(false));
    if (word == "FUNCTION") return readCall(depth);
    failAt(start, "expected a constant, a variable or FUNCTION");
  }

  Variable readVariable() {
    const auto start = place_;
    if (!take('$')) fail("expected a variable");
    takeWhile(isWordCharacter);
    const auto written = text_.substr(start, place_ - start);
    const auto found = std::ranges::find(kVariables, written, [](Variable v) { return name(v); });
    if (found != kVariables.end()) return *found;
    failAt(start, "the variables are $source, $destination, $manager and $entityPolicy");
  }

  MappingExpression readPath() {
    MappingExpression::KeyPath path;
    path.variable = readVariable();
    while (take('.')) {
      const auto start = place_;
      const auto key = takeWhile(isWordCharacter);
      if (!isWord(key)) failAt(start, "expected a key");
      if (!hasKeys(path.variable)) failAt(start, std::string(name(path.variable)) + " has no keys");
      path.keys.emplace_back(key);
    }
    return MappingExpression(std::move(path));
  }

  std::string readText() {
    const auto start = place_;
    const char quote = text_[place_++];
    std::string result;
    while (!take(quote)) {
      take('\\');
      if (isAtEnd()) failAt(start, "the text does not end");
      result += text_[place_++];
    }
    return result;
  }

  Value readNumber() {
    const auto start = place_;
    take('-');
    readDigits();
    bool isWhole = true;
    if (take('.')) {
      isWhole = false;
      readDigits();
    }
    if (take('e') || take('E')) {
      isWhole = false;
      if (!take('+')) take('-');
      readDigits();
    }
    const auto digits = text_.substr(start, place_ - start);
    const auto value = isWhole ? converted<std::int64_t>(digits) : converted<double>(digits);
    if (!value) failAt(start, "the number is too large");
    return *value;
  }

  void readDigits() {
    if (takeWhile(isDigit).empty()) fail("expected a digit");
  }

  template <typename Number>
  static std::optional<Value> converted(std::string_view digits) {
    Number number{};
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (result.ec != std::errc()) return std::nullopt;
    return Value(number);
  }

  MappingExpression readCall(int depth) {
    MappingExpression::Function call;
    require('(');
    call.target = readTarget();
    require(',');
    skipBlanks();
    const auto start = place_;
    call.selector = readSelector();
    skipBlanks();
    while (take(',')) {
      call.arguments.push_back(readExpression(depth + 1));
      skipBlanks();
    }
    require(')');
    const auto colons = static_cast<std::size_t>(std::ranges::count(call.selector, ':'));
    if (colons != call.arguments.size()) {
      failAt(start, "the selector takes " + std::to_string(colons) + " arguments and is given " +
                        std::to_string(call.arguments.size()));
    }
    return MappingExpression(std::move(call));
  }

  Variable readTarget() {
    skipBlanks();
    const auto start = place_;
    const auto target = readVariable();
    if (hasKeys(target)) failAt(start, "only $manager and $entityPolicy are called");
    return target;
  }

  std::string readSelector() {
    const auto start = place_;
    if (peek() != '\'' && peek() != '"') fail("expected a selector in quotes");
    auto selector = readText();
    if (!isSelector(selector)) failAt(start, "this is no selector");
    return selector;
  }

  std::string_view text_;
  std::size_t place_ = 0;
};

}  // namespace

MappingExpression MappingExpression::parse(std::string_view text) { return Parser(text).parse(); }

}  // namespace coredata
