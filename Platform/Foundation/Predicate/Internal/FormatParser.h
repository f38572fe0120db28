#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Foundation/Predicate/Internal/FormatLexer.h"
#include "Foundation/Predicate/PredicateShape.h"

namespace foundation {

/// What a format text says, before it is interned.
struct ParsedFormat {
  PredicateNode root;
  std::vector<ArgumentRule> rules;
  std::uint32_t siteCount = 0;
  std::uint32_t scopeDepth = 0;
};

// predicate  := conjunct (("OR" | "||") conjunct)*
// conjunct   := term (("AND" | "&&") term)*
// term       := ("NOT" | "!") term | "(" predicate ")" | "TRUEPREDICATE" | "FALSEPREDICATE" |
// comparison comparison := ["ANY" | "SOME" | "ALL" | "NONE"] expression operator ["[c]"] expression
// expression := literal | placeholder | path [".@count"] | aggregate | "(" expression ")"
//             | "SUBQUERY" "(" path "," variable "," predicate ")" ".@count"
// aggregate  := "{" [expression ("," expression)*] "}"
// path       := ("SELF" | variable | key | "%K") ("." key)*
// Keywords are written in any case; "#" before a word makes a key of it.

/// Reads one format. Parentheses and NOT are kept on a stack of its own, so that deep nesting
/// cannot use up the thread's; only SUBQUERY recurses, and its depth is limited.
class FormatParser {
 public:
  FormatParser(std::string_view format, std::span<const std::string_view> keyPaths);

  /// Throws `Error` when the text does not follow the grammar or `keyPaths` does not match its
  /// `%K`.
  [[nodiscard]] ParsedFormat parse();

 private:
  struct Group;

  [[nodiscard]] PredicateNode parsePredicate();
  [[nodiscard]] PredicateNode parseTerm(std::vector<Group>& groups);
  [[nodiscard]] PredicateNode parseComparison(std::vector<Group>& groups);
  [[nodiscard]] ExpressionNode parseLeft(std::vector<Group>& groups);
  [[nodiscard]] ExpressionNode parseRight();
  [[nodiscard]] ExpressionNode parseExpression();
  [[nodiscard]] ExpressionNode parseElement();
  [[nodiscard]] ExpressionNode parseWord();
  [[nodiscard]] ExpressionNode parseKeyPath();
  [[nodiscard]] ExpressionNode parseSubquery();
  [[nodiscard]] ExpressionNode parseAggregate();
  [[nodiscard]] ExpressionNode argument();
  [[nodiscard]] KeyPathExpression parsePathStart();
  void appendKeyPathArgument(KeyPathExpression& path);
  [[nodiscard]] ComparisonOperator parseOperator();
  [[nodiscard]] TextOption parseOption();
  [[nodiscard]] std::uint32_t scopeOf(std::string_view variable) const;
  void finishPath(KeyPathExpression& path);

  bool takeSymbol(std::string_view symbol);
  bool takeKeyword(std::string_view keyword);
  void expectSymbol(std::string_view symbol);
  void advance() { token_ = lexer_.next(); }
  void enterLevel();
  void leaveLevels(std::size_t count) noexcept { depth_ -= count; }
  [[noreturn]] void fail(std::string_view problem) const;

  std::string_view format_;
  std::span<const std::string_view> keyPaths_;
  std::size_t usedKeyPaths_ = 0;
  FormatLexer lexer_;
  FormatToken token_;
  std::size_t depth_ = 0;
  std::vector<std::string_view> variables_;
  ParsedFormat result_;
};

}  // namespace foundation
