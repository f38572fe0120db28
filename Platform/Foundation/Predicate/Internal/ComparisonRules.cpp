#include "Foundation/Predicate/Internal/ComparisonRules.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>

#include "Foundation/Predicate/Internal/FormatError.h"
#include "Foundation/Predicate/Internal/ShapePrinter.h"

namespace foundation {
namespace {

using Expression = ExpressionNode::Kind;

/// What is known of an expression's value from the format alone.
enum class KnownKind : std::uint8_t { unknown, number, text };

KnownKind knownKind(const ExpressionNode& node, std::span<const ArgumentRule> rules) {
  switch (node.kind) {
    case Expression::literal:
      if (node.literal.isNone()) return KnownKind::unknown;
      return node.literal.text() != nullptr ? KnownKind::text : KnownKind::number;
    case Expression::argument:
      return rules[node.argument].specifier == ArgumentSpecifier::value ? KnownKind::unknown
                                                                        : KnownKind::number;
    case Expression::count:
    case Expression::subqueryCount:
      return KnownKind::number;
    case Expression::keyPath:
    case Expression::aggregate:
      return KnownKind::unknown;
  }
  return KnownKind::unknown;
}

bool isNumber(const ExpressionNode& node, std::span<const ArgumentRule> rules) {
  return knownKind(node, rules) == KnownKind::number;
}

bool areOfDifferentKinds(const ExpressionNode& left, const ExpressionNode& right,
                         std::span<const ArgumentRule> rules) {
  const KnownKind leftKind = knownKind(left, rules);
  const KnownKind rightKind = knownKind(right, rules);
  return leftKind != KnownKind::unknown && rightKind != KnownKind::unknown && leftKind != rightKind;
}

void demand(const ExpressionNode& node, ArgumentUse use, std::vector<ArgumentRule>& rules) {
  if (node.kind == Expression::argument) rules[node.argument].use = use;
}

std::string_view checkText(const PredicateNode& node, std::vector<ArgumentRule>& rules) {
  if (isNumber(node.left, rules) || isNumber(node.right, rules)) {
    return "the operator compares texts, not numbers";
  }
  demand(node.left, ArgumentUse::text, rules);
  demand(node.right, ArgumentUse::text, rules);
  return {};
}

std::string_view checkCollection(const PredicateNode& node, std::vector<ArgumentRule>& rules) {
  const bool isBetween = node.comparison == ComparisonOperator::between;
  const ExpressionNode& right = node.right;
  if (right.kind == Expression::argument && !isNumber(right, rules)) {
    demand(right, isBetween ? ArgumentUse::pair : ArgumentUse::list, rules);
    return {};
  }
  if (right.kind == Expression::keyPath && !isBetween) return {};
  if (right.kind != Expression::aggregate) return "expected a list such as {1, 2} on the right";
  if (isBetween && right.elements.size() != 2) return "BETWEEN needs a list of two";
  for (const ExpressionNode& element : right.elements) {
    if (areOfDifferentKinds(node.left, element, rules)) {
      return "a number does not compare with a text";
    }
  }
  return {};
}

std::string_view checkOperands(const PredicateNode& node, std::vector<ArgumentRule>& rules) {
  switch (node.comparison) {
    case ComparisonOperator::beginsWith:
    case ComparisonOperator::endsWith:
    case ComparisonOperator::like:
      return checkText(node, rules);
    case ComparisonOperator::in:
    case ComparisonOperator::between:
      return checkCollection(node, rules);
    case ComparisonOperator::contains:
      if (isNumber(node.left, rules)) return "a number contains nothing";
      break;
    case ComparisonOperator::equal:
    case ComparisonOperator::notEqual:
    case ComparisonOperator::less:
    case ComparisonOperator::lessOrEqual:
    case ComparisonOperator::greater:
    case ComparisonOperator::greaterOrEqual:
      break;
  }
  if (node.right.kind == Expression::aggregate) return "a list stands only after IN and BETWEEN";
  if (areOfDifferentKinds(node.left, node.right, rules)) {
    return "a number does not compare with a text";
  }
  return {};
}

bool takesOption(ComparisonOperator comparison) noexcept {
  switch (comparison) {
    case ComparisonOperator::less:
    case ComparisonOperator::lessOrEqual:
    case ComparisonOperator::greater:
    case ComparisonOperator::greaterOrEqual:
    case ComparisonOperator::between:
      return false;
    case ComparisonOperator::equal:
    case ComparisonOperator::notEqual:
    case ComparisonOperator::beginsWith:
    case ComparisonOperator::endsWith:
    case ComparisonOperator::contains:
    case ComparisonOperator::like:
    case ComparisonOperator::in:
      return true;
  }
  return false;
}

bool isInteger(const Value& value, std::int64_t lowest, std::int64_t highest) noexcept {
  const NSNumber* number = value.number();
  if (number == nullptr || number->isReal()) return false;
  const std::int64_t integer = number->int64Value();
  return integer >= lowest && integer <= highest;
}

bool fits(ArgumentSpecifier specifier, const Value& value) noexcept {
  using Limits32 = std::numeric_limits<std::int32_t>;
  constexpr std::int64_t kHighest64 = std::numeric_limits<std::int64_t>::max();
  switch (specifier) {
    case ArgumentSpecifier::value:
      return true;
    case ArgumentSpecifier::int32:
      return isInteger(value, Limits32::min(), Limits32::max());
    case ArgumentSpecifier::int64:
      return isInteger(value, std::numeric_limits<std::int64_t>::min(), kHighest64);
    case ArgumentSpecifier::uint32:
      return isInteger(value, 0, std::numeric_limits<std::uint32_t>::max());
    case ArgumentSpecifier::uint64:
      return isInteger(value, 0, kHighest64);
    case ArgumentSpecifier::real:
      return value.number() != nullptr;
  }
  return false;
}

/// What the place wants, empty when the value gives it.
std::string_view unmetUse(ArgumentUse use, const Value& value) noexcept {
  switch (use) {
    case ArgumentUse::any:
      return {};
    case ArgumentUse::text:
      return value.isNone() || value.text() != nullptr ? "" : "a text";
    case ArgumentUse::list:
      return value.list() != nullptr ? "" : "a list";
    case ArgumentUse::pair:
      return value.list() != nullptr && value.list()->size() == 2 ? "" : "a list of two";
  }
  return {};
}

std::string_view wanted(ArgumentSpecifier specifier) noexcept {
  switch (specifier) {
    case ArgumentSpecifier::value:
      return "a value";
    case ArgumentSpecifier::int32:
      return "a whole number of 32 bits";
    case ArgumentSpecifier::int64:
      return "a whole number";
    case ArgumentSpecifier::uint32:
      return "a whole number of 32 bits that is not negative";
    case ArgumentSpecifier::uint64:
      return "a whole number that is not negative";
    case ArgumentSpecifier::real:
      return "a number";
  }
  return {};
}

[[noreturn]] void throwUnmet(std::string_view format, std::size_t index,
                             std::string_view expected) {
  throwArgumentError(format,
                     "argument " + std::to_string(index + 1) + " must be " + std::string(expected));
}

}  // namespace

std::string_view checkComparison(const PredicateNode& comparison,
                                 std::vector<ArgumentRule>& rules) {
  if (comparison.modifier != ComparisonModifier::direct &&
      (comparison.left.kind != Expression::keyPath || comparison.left.path.segments.empty())) {
    return "ANY and ALL need a key path on the left";
  }
  if (comparison.left.kind == Expression::aggregate) {
    return "a list stands only after IN and BETWEEN";
  }
  if (comparison.option != TextOption::exact && !takesOption(comparison.comparison)) {
    return "the operator takes no option";
  }
  return checkOperands(comparison, rules);
}

void checkArguments(std::string_view format, std::span<const ArgumentRule> rules,
                    std::span<const Value> arguments) {
  if (rules.size() != arguments.size()) {
    throwArgumentError(format, "the format takes " + std::to_string(rules.size()) + ", " +
                                   std::to_string(arguments.size()) + " were given");
  }
  for (std::size_t i = 0; i < rules.size(); ++i) {
    if (!fits(rules[i].specifier, arguments[i])) {
      throwUnmet(format, i, wanted(rules[i].specifier));
    }
    const std::string_view unmet = unmetUse(rules[i].use, arguments[i]);
    if (!unmet.empty()) throwUnmet(format, i, unmet);
  }
}

}  // namespace foundation
