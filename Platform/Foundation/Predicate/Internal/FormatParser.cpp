#include "Foundation/Predicate/Internal/FormatParser.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <optional>
#include <utility>

#include "Foundation/Predicate/Internal/ComparisonRules.h"
#include "Foundation/Predicate/Internal/FormatError.h"
#include "Foundation/Predicate/Internal/KeyPathText.h"
#include "Foundation/Predicate/Internal/ShapePrinter.h"

namespace foundation {
namespace {

using Token = FormatToken::Kind;

constexpr std::array<std::pair<std::string_view, ComparisonOperator>, 10> kSymbolOperators = {{
    {"=", ComparisonOperator::equal},
    {"==", ComparisonOperator::equal},
    {"!=", ComparisonOperator::notEqual},
    {"<>", ComparisonOperator::notEqual},
    {"<", ComparisonOperator::less},
    {"<=", ComparisonOperator::lessOrEqual},
    {"=<", ComparisonOperator::lessOrEqual},
    {">", ComparisonOperator::greater},
    {">=", ComparisonOperator::greaterOrEqual},
    {"=>", ComparisonOperator::greaterOrEqual},
}};

constexpr std::array<std::pair<std::string_view, ComparisonOperator>, 6> kWordOperators = {{
    {"BEGINSWITH", ComparisonOperator::beginsWith},
    {"ENDSWITH", ComparisonOperator::endsWith},
    {"CONTAINS", ComparisonOperator::contains},
    {"LIKE", ComparisonOperator::like},
    {"IN", ComparisonOperator::in},
    {"BETWEEN", ComparisonOperator::between},
}};

ExpressionNode literal(Value value) {
  ExpressionNode node;
  node.literal = std::move(value);
  return node;
}

PredicateNode constant(bool value) {
  PredicateNode node;
  node.constant = value;
  return node;
}

PredicateNode negation(PredicateNode child) {
  PredicateNode node;
  node.kind = PredicateNode::Kind::negation;
  node.children.push_back(std::move(child));
  return node;
}

/// Adds a part, or the parts of a part that is of the list's own kind.
void addFlattened(std::vector<PredicateNode>& parts, PredicateNode part, PredicateNode::Kind kind) {
  if (part.kind != kind) {
    parts.push_back(std::move(part));
    return;
  }
  std::ranges::move(part.children, std::back_inserter(parts));
}

/// Takes the parts out of the list.
PredicateNode joined(std::vector<PredicateNode>& parts, PredicateNode::Kind kind) {
  PredicateNode node;
  if (parts.size() == 1) {
    node = std::move(parts.front());
  } else {
    node.kind = kind;
    node.children = std::move(parts);
  }
  parts.clear();
  return node;
}

}  // namespace

/// What is open between two parentheses, or in the whole text.
struct FormatParser::Group {
  std::vector<PredicateNode> alternatives;
  std::vector<PredicateNode> factors;
  std::size_t negations = 0;

  [[nodiscard]] bool isUntouched() const noexcept {
    return alternatives.empty() && factors.empty() && negations == 0;
  }
  void endAlternative() {
    addFlattened(alternatives, joined(factors, PredicateNode::Kind::conjunction),
                 PredicateNode::Kind::disjunction);
  }
  [[nodiscard]] PredicateNode close() {
    endAlternative();
    return joined(alternatives, PredicateNode::Kind::disjunction);
  }
};

FormatParser::FormatParser(std::string_view format, std::span<const std::string_view> keyPaths)
    : format_(format), keyPaths_(keyPaths), lexer_(format), token_(lexer_.next()) {}

ParsedFormat FormatParser::parse() {
  result_.root = parsePredicate();
  if (token_.kind != Token::end) fail("expected AND, OR or the end");
  if (usedKeyPaths_ != keyPaths_.size()) {
    throwArgumentError(format_, "more key paths are given than the format has %K");
  }
  return std::move(result_);
}

PredicateNode FormatParser::parsePredicate() {
  std::vector<Group> groups(1);
  while (true) {
    PredicateNode term = parseTerm(groups);
    // A term may close the groups around it; the innermost one left open takes the next connective.
    while (true) {
      Group& group = groups.back();
      leaveLevels(group.negations);
      for (; group.negations > 0; --group.negations) term = negation(std::move(term));
      addFlattened(group.factors, std::move(term), PredicateNode::Kind::conjunction);
      if (groups.size() == 1 || !takeSymbol(")")) break;
      term = group.close();
      groups.pop_back();
      leaveLevels(1);
    }
    if (takeKeyword("AND") || takeSymbol("&&")) continue;
    if (takeKeyword("OR") || takeSymbol("||")) {
      groups.back().endAlternative();
      continue;
    }
    if (groups.size() > 1) fail("expected AND, OR or a closing parenthesis");
    return groups.back().close();
  }
}

PredicateNode FormatParser::parseTerm(std::vector<Group>& groups) {
  while (true) {
    if (takeKeyword("NOT") || takeSymbol("!")) {
      enterLevel();
      ++groups.back().negations;
    } else if (takeSymbol("(")) {
      enterLevel();
      groups.emplace_back();
    } else if (takeKeyword("TRUEPREDICATE")) {
      return constant(true);
    } else if (takeKeyword("FALSEPREDICATE")) {
      return constant(false);
    } else {
      return parseComparison(groups);
    }
  }
}

PredicateNode FormatParser::parseComparison(std::vector<Group>& groups) {
  PredicateNode node;
  node.kind = PredicateNode::Kind::comparison;
  const std::size_t start = token_.position;
  const bool isNone = takeKeyword("NONE");
  if (isNone || takeKeyword("ANY") || takeKeyword("SOME")) {
    node.modifier = ComparisonModifier::any;
  } else if (takeKeyword("ALL")) {
    node.modifier = ComparisonModifier::all;
  }
  node.left = parseLeft(groups);
  node.comparison = parseOperator();
  node.option = parseOption();
  node.right = parseRight();
  const std::string_view problem = checkComparison(node, result_.rules);
  if (!problem.empty()) throwFormatError(format_, start, problem);
  if (!isNone) return node;
  enterLevel();
  ++groups.back().negations;
  return node;
}

/// A parenthesis before the left side has already been taken for the start of a group. When the
/// expression is followed by a closing one, it was the expression's own, and the group goes away
/// again.
ExpressionNode FormatParser::parseLeft(std::vector<Group>& groups) {
  ExpressionNode node = parseExpression();
  while (groups.size() > 1 && groups.back().isUntouched() && takeSymbol(")")) {
    groups.pop_back();
    leaveLevels(1);
  }
  return node;
}

ExpressionNode FormatParser::parseRight() {
  std::size_t open = 0;
  for (; takeSymbol("("); ++open) enterLevel();
  ExpressionNode node = parseExpression();
  for (std::size_t i = 0; i < open; ++i) expectSymbol(")");
  leaveLevels(open);
  return node;
}

ExpressionNode FormatParser::parseExpression() {
  return takeSymbol("{") ? parseAggregate() : parseElement();
}

ExpressionNode FormatParser::parseElement() {
  switch (token_.kind) {
    case Token::text: {
      ExpressionNode node = literal(std::move(token_.text));
      advance();
      return node;
    }
    case Token::number: {
      ExpressionNode node = literal(token_.number);
      advance();
      return node;
    }
    case Token::argument:
      return argument();
    case Token::word:
      return parseWord();
    case Token::key:
    case Token::variable:
    case Token::keyPathArgument:
      return parseKeyPath();
    case Token::collectionWord:
    case Token::symbol:
    case Token::end:
      break;
  }
  fail("expected a key path, a value or a placeholder");
}

ExpressionNode FormatParser::parseWord() {
  if (takeKeyword("NIL") || takeKeyword("NULL")) return literal({});
  if (takeKeyword("TRUE") || takeKeyword("YES")) return literal(true);
  if (takeKeyword("FALSE") || takeKeyword("NO")) return literal(false);
  if (takeKeyword("SUBQUERY")) return parseSubquery();
  if (isReservedWord(token_.spelling) && !token_.isKeyword("SELF")) {
    fail(
        "expected a key path, a value or a placeholder (a key that is a reserved word is written "
        "with # before it)");
  }
  return parseKeyPath();
}

ExpressionNode FormatParser::argument() {
  ExpressionNode node;
  node.kind = ExpressionNode::Kind::argument;
  node.argument = static_cast<std::uint32_t>(result_.rules.size());
  result_.rules.push_back({.specifier = token_.specifier, .use = ArgumentUse::any});
  advance();
  return node;
}

ExpressionNode FormatParser::parseKeyPath() {
  ExpressionNode node;
  node.kind = ExpressionNode::Kind::keyPath;
  node.path = parsePathStart();
  while (takeSymbol(".")) {
    if (token_.kind == Token::collectionWord) {
      if (token_.spelling != "count") fail("expected @count");
      if (node.path.segments.empty()) fail("@count needs a key before it");
      node.kind = ExpressionNode::Kind::count;
      advance();
      break;
    }
    if (token_.kind == Token::keyPathArgument) {
      appendKeyPathArgument(node.path);
      continue;
    }
    if (token_.kind != Token::word && token_.kind != Token::key) fail("expected a key");
    node.path.segments.emplace_back(token_.spelling);
    advance();
  }
  finishPath(node.path);
  return node;
}

KeyPathExpression FormatParser::parsePathStart() {
  KeyPathExpression path;
  if (token_.kind == Token::keyPathArgument) {
    appendKeyPathArgument(path);
    return path;
  }
  if (token_.kind == Token::variable) {
    path.scope = scopeOf(token_.spelling);
  } else if (!token_.isKeyword("SELF")) {
    path.segments.emplace_back(token_.spelling);
  }
  advance();
  return path;
}

/// The text for a `%K` is keys with dots between them, or `SELF` where a path may begin with it.
void FormatParser::appendKeyPathArgument(KeyPathExpression& path) {
  if (usedKeyPaths_ == keyPaths_.size()) {
    throwArgumentError(format_, "%K has no key path to stand for");
  }
  const std::string_view text = keyPaths_[usedKeyPaths_++];
  FormatToken word;
  word.kind = Token::word;
  word.spelling = text;
  const bool isWholeSubject = path.segments.empty() && path.scope == 0 && word.isKeyword("SELF");
  if (!isWholeSubject) {
    std::ranges::move(keyPathSegments(text), std::back_inserter(path.segments));
  }
  advance();
}

void FormatParser::finishPath(KeyPathExpression& path) {
  path.site = result_.siteCount++;
  if (path.scope > 0) {
    path.text = "$" + std::string(variables_[path.scope - 1]);
    for (const std::string& segment : path.segments) path.text += "." + segment;
  } else {
    path.text = path.segments.empty() ? "SELF" : printedKeyPath(path.segments);
  }
}

/// The innermost variable of the name: the same name further out is hidden.
std::uint32_t FormatParser::scopeOf(std::string_view variable) const {
  const auto found = std::ranges::find(variables_.rbegin(), variables_.rend(), variable);
  if (found == variables_.rend()) fail("the variable belongs to no SUBQUERY around it");
  return static_cast<std::uint32_t>(variables_.rend() - found);
}

ExpressionNode FormatParser::parseSubquery() {
  if (variables_.size() == PredicateShape::kMaximumScopeDepth) {
    throwFormatError(format_, token_.position, "too many subqueries inside each other",
                     PredicateErrorCode::tooDeep);
  }
  enterLevel();
  expectSymbol("(");
  if (token_.kind == Token::word && isReservedWord(token_.spelling)) fail("expected a key path");
  if (token_.kind != Token::word && token_.kind != Token::key && token_.kind != Token::variable &&
      token_.kind != Token::keyPathArgument) {
    fail("expected a key path");
  }
  ExpressionNode node = parseKeyPath();
  if (node.kind != ExpressionNode::Kind::keyPath || node.path.segments.empty()) {
    fail("expected the key path of a to-many before this");
  }
  node.kind = ExpressionNode::Kind::subqueryCount;
  expectSymbol(",");
  if (token_.kind != Token::variable) fail("expected a variable such as $member");
  node.variable = token_.spelling;
  variables_.push_back(token_.spelling);
  result_.scopeDepth = std::max(result_.scopeDepth, static_cast<std::uint32_t>(variables_.size()));
  advance();
  expectSymbol(",");
  node.condition.push_back(parsePredicate());
  expectSymbol(")");
  variables_.pop_back();
  leaveLevels(1);
  expectSymbol(".");
  if (token_.kind != Token::collectionWord || token_.spelling != "count") fail("expected @count");
  advance();
  return node;
}

ExpressionNode FormatParser::parseAggregate() {
  ExpressionNode node;
  node.kind = ExpressionNode::Kind::aggregate;
  if (takeSymbol("}")) return node;
  do {
    node.elements.push_back(parseElement());
  } while (takeSymbol(","));
  expectSymbol("}");
  return node;
}

ComparisonOperator FormatParser::parseOperator() {
  if (token_.kind == Token::symbol) {
    const auto* const found = std::ranges::find(kSymbolOperators, token_.spelling,
                                                &decltype(kSymbolOperators)::value_type::first);
    if (found != kSymbolOperators.end()) {
      advance();
      return found->second;
    }
  }
  for (const auto& [word, comparison] : kWordOperators) {
    if (takeKeyword(word)) return comparison;
  }
  if (token_.isKeyword("MATCHES")) fail("MATCHES is not supported: use LIKE");
  fail("expected an operator such as =, < or BEGINSWITH");
}

TextOption FormatParser::parseOption() {
  if (!takeSymbol("[")) return TextOption::exact;
  if (!token_.isKeyword("C")) {
    // Folding marks away needs a table that memory and store would have to share.
    fail("expected c: no other option is supported");
  }
  advance();
  expectSymbol("]");
  return TextOption::caseInsensitive;
}

bool FormatParser::takeSymbol(std::string_view symbol) {
  if (!token_.isSymbol(symbol)) return false;
  advance();
  return true;
}

bool FormatParser::takeKeyword(std::string_view keyword) {
  if (!token_.isKeyword(keyword)) return false;
  advance();
  return true;
}

void FormatParser::expectSymbol(std::string_view symbol) {
  if (!takeSymbol(symbol)) fail("expected " + std::string(symbol));
}

void FormatParser::enterLevel() {
  if (depth_ == PredicateShape::kMaximumDepth) {
    throwFormatError(format_, token_.position, "too many levels of nesting",
                     PredicateErrorCode::tooDeep);
  }
  ++depth_;
}

void FormatParser::fail(std::string_view problem) const {
  throwFormatError(format_, token_.position, problem);
}

}  // namespace foundation
