#include <algorithm>
#include <array>
#include <cassert>
#include <utility>

#include "CoreData/SQLite/Query/PredicateCompiler.h"

namespace coredata {

using foundation::ArgumentSpecifier;
using foundation::ComparisonOperator;
using foundation::ExpressionNode;

namespace {

/// What there is to know of a comparison by order.
struct Ordering {
  ComparisonOperator comparison;
  /// The same with its sides exchanged.
  ComparisonOperator mirrored;
  std::string_view symbol;
  /// Where a bound that lies between two doubles has to go, so that no double changes sides.
  QueryParameter::Role roleOfBound;
};
constexpr std::array kOrderings = {
    Ordering{ComparisonOperator::less, ComparisonOperator::greater, " < ",
             QueryParameter::Role::roundedUp},
    Ordering{ComparisonOperator::lessOrEqual, ComparisonOperator::greaterOrEqual,
             " <= ", QueryParameter::Role::roundedDown},
    Ordering{ComparisonOperator::greater, ComparisonOperator::less, " > ",
             QueryParameter::Role::roundedDown},
    Ordering{ComparisonOperator::greaterOrEqual, ComparisonOperator::lessOrEqual,
             " >= ", QueryParameter::Role::roundedUp},
};

/// The entry of a comparison that the table must know.
template <typename Table>
const auto& entryOf(const Table& table, ComparisonOperator comparison) noexcept {
  const auto found = std::ranges::find(table, comparison, &Table::value_type::comparison);
  assert(found != table.end());
  return *found;
}

/// The SQL functions that compare texts, as they are and without regard to case and marks.
struct TextFunction {
  ComparisonOperator comparison;
  const char* exact;
  const char* folded;
};
constexpr std::array kTextFunctions = {
    TextFunction{ComparisonOperator::equal, "text_equals", "text_equals_folded"},
    TextFunction{ComparisonOperator::beginsWith, "text_begins", "text_begins_folded"},
    TextFunction{ComparisonOperator::endsWith, "text_ends", "text_ends_folded"},
    TextFunction{ComparisonOperator::contains, "text_contains", "text_contains_folded"},
    TextFunction{ComparisonOperator::like, "text_like", "text_like_folded"},
};

bool isAbsentLiteral(const ExpressionNode& expression) noexcept {
  return expression.kind == ExpressionNode::Kind::literal && expression.literal.isNone();
}

}  // namespace

SqlCondition PredicateCompiler::constantTest(Node comparison, bool wanted) {
  return holdsOrNot(draft_.addTest(std::move(comparison)), wanted);
}

SqlCondition PredicateCompiler::constantTest(Comparison comparison, const Side& left,
                                             const Side& right, Option option, bool wanted) {
  Node node;
  node.kind = Node::Kind::comparison;
  node.comparison = comparison;
  node.option = option;
  node.left = *left.constant;
  node.right = *right.constant;
  return constantTest(std::move(node), wanted);
}

SqlCondition PredicateCompiler::equal(const Side& left, const Side& right, Option option,
                                      bool wanted) {
  if (left.constant != nullptr && right.constant != nullptr) {
    return constantTest(Comparison::equal, left, right, option, wanted);
  }
  if (right.constant != nullptr) return equalToConstant(left, right, option, wanted);
  if (left.constant != nullptr) return equalToConstant(right, left, option, wanted);
  if (!areComparable(left.type, right.type)) {
    return holds(
        {left.sql + " IS NULL AND " + right.sql + " IS NULL", SqlCondition::Form::conjunction},
        wanted);
  }
  if (option != Option::exact && left.type.kind == ColumnKind::text) {
    return holdsOrNot(textCall(Comparison::equal, option, left.sql, right.sql), wanted);
  }
  return {left.sql + (wanted ? " IS " : " IS NOT ") + right.sql};
}

SqlCondition PredicateCompiler::equalToConstant(const Side& column, const Side& constant,
                                                Option option, bool wanted) {
  if (isAbsentLiteral(*constant.constant)) {
    return {column.sql + (wanted ? " IS NULL" : " IS NOT NULL")};
  }
  const std::string bound = parameter(constant, column, Role::equality);
  if (option != Option::exact && column.type.kind == ColumnKind::text) {
    return holdsOrNot(textCall(Comparison::equal, option, column.sql, bound), wanted);
  }
  // The plain form lets SQLite see that a joined row must be there, and start from its table.
  if (wanted && column.isJoined && isNeverAbsent(*constant.constant)) {
    return {column.sql + " = " + bound};
  }
  return {column.sql + (wanted ? " IS " : " IS NOT ") + bound};
}

bool PredicateCompiler::isNeverAbsent(const Expression& constant) const {
  if (constant.kind == Expression::Kind::literal) return !constant.literal.isNone();
  if (constant.kind != Expression::Kind::argument) return false;
  return draft_.isPresent(constant.argument) ||
         predicate_.shape().argumentRules()[constant.argument].specifier !=
             ArgumentSpecifier::value;
}

SqlCondition PredicateCompiler::ordered(Comparison comparison, const Side& left, const Side& right,
                                        bool wanted) {
  if (left.constant != nullptr && right.constant != nullptr) {
    return constantTest(comparison, left, right, Option::exact, wanted);
  }
  const Ordering& ordering = entryOf(kOrderings, comparison);
  if (left.constant != nullptr) return ordered(ordering.mirrored, right, left, wanted);
  if (!isOrdered(left.type)) return always(!wanted);
  if (right.constant == nullptr) {
    if (!areComparable(left.type, right.type)) return always(!wanted);
    return holds({left.sql + std::string(ordering.symbol) + right.sql}, wanted);
  }
  if (isAbsentLiteral(*right.constant)) return always(!wanted);
  return holds(
      {left.sql + std::string(ordering.symbol) + parameter(right, left, ordering.roleOfBound)},
      wanted);
}

PredicateCompiler::Side PredicateCompiler::bound(const Expression& bounds, int element) {
  if (bounds.kind == Expression::Kind::aggregate) {
    return side(bounds.elements[static_cast<std::size_t>(element)]);
  }
  Side result = side(bounds);
  result.element = element;
  return result;
}

SqlCondition PredicateCompiler::between(const Side& value, const Expression& bounds, bool wanted) {
  const Side low = bound(bounds, 0);
  const Side high = bound(bounds, 1);
  if (value.constant == nullptr && low.constant != nullptr && high.constant != nullptr) {
    if (!isOrdered(value.type)) return always(!wanted);
    const std::string from = parameter(low, value, Role::roundedUp);
    const std::string to = parameter(high, value, Role::roundedDown);
    return holds({value.sql + " BETWEEN " + from + " AND " + to}, wanted);
  }
  std::vector<SqlCondition> ends;
  ends.push_back(ordered(Comparison::greaterOrEqual, value, low, wanted));
  ends.push_back(ordered(Comparison::lessOrEqual, value, high, wanted));
  return wanted ? allOf(std::move(ends)) : anyOf(std::move(ends));
}

SqlCondition PredicateCompiler::textTest(Comparison comparison, const Side& left, const Side& right,
                                         Option option, bool wanted) {
  if (left.constant != nullptr && right.constant != nullptr) {
    return constantTest(comparison, left, right, option, wanted);
  }
  const Side& column = left.constant == nullptr ? left : right;
  const auto mayBeText = [](const Side& given) {
    return given.constant != nullptr || given.type.kind == ColumnKind::text;
  };
  if (!mayBeText(left) || !mayBeText(right)) return always(!wanted);
  const bool isPrefix = comparison == Comparison::beginsWith && option == Option::exact;
  if (isPrefix && right.constant != nullptr) return prefixRange(left, right, wanted);
  const auto text = [&](const Side& given) {
    return given.constant == nullptr ? given.sql : parameter(given, column, Role::roundedDown);
  };
  const std::string whole = text(left);
  return holdsOrNot(textCall(comparison, option, whole, text(right)), wanted);
}

std::string PredicateCompiler::textCall(Comparison comparison, Option option,
                                        const std::string& left, const std::string& right) {
  draft_.noteFunction();
  return std::string(textFunction(comparison, option)) + "(" + left + ", " + right + ")";
}

SqlCondition PredicateCompiler::prefixRange(const Side& column, const Side& prefix, bool wanted) {
  const std::string from = parameter(prefix, column, Role::roundedUp);
  const std::string to = parameter(prefix, column, Role::prefixEnd);
  return holds({column.sql + " >= " + from + " AND " + column.sql + " < " + to,
                SqlCondition::Form::conjunction},
               wanted);
}

const char* textFunction(ComparisonOperator comparison, foundation::TextOption option) noexcept {
  const TextFunction& function = entryOf(kTextFunctions, comparison);
  return option == foundation::TextOption::exact ? function.exact : function.folded;
}

}  // namespace coredata
