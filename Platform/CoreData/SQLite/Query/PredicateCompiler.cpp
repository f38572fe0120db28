#include "CoreData/SQLite/Query/PredicateCompiler.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace coredata {

using foundation::ComparisonModifier;
using foundation::ComparisonOperator;
using foundation::ExpressionNode;
using foundation::KeyPathExpression;

namespace {

bool isConstant(const ExpressionNode& expression) {
  switch (expression.kind) {
    case ExpressionNode::Kind::literal:
    case ExpressionNode::Kind::argument:
      return true;
    case ExpressionNode::Kind::aggregate:
      return std::ranges::all_of(expression.elements, isConstant);
    case ExpressionNode::Kind::keyPath:
    case ExpressionNode::Kind::count:
    case ExpressionNode::Kind::subqueryCount:
      break;
  }
  return false;
}

bool isCount(const ExpressionNode& expression) noexcept {
  return expression.kind == ExpressionNode::Kind::count ||
         expression.kind == ExpressionNode::Kind::subqueryCount;
}

/// Whether "count <comparison> <literal>" only asks if there is a member (true) or none (false).
std::optional<bool> asksForExistence(ComparisonOperator comparison, const ExpressionNode& right) {
  if (right.kind != ExpressionNode::Kind::literal || right.literal.number() == nullptr) return {};
  const std::optional<std::int64_t> limit = right.literal.number()->exactInt64();
  if (!limit || (*limit != 0 && *limit != 1)) return {};
  const bool isZero = *limit == 0;
  switch (comparison) {
    case ComparisonOperator::greater:
    case ComparisonOperator::notEqual:
      return isZero ? std::optional(true) : std::nullopt;
    case ComparisonOperator::equal:
    case ComparisonOperator::lessOrEqual:
      return isZero ? std::optional(false) : std::nullopt;
    case ComparisonOperator::greaterOrEqual:
      return isZero ? std::nullopt : std::optional(true);
    case ComparisonOperator::less:
      return isZero ? std::nullopt : std::optional(false);
    case ComparisonOperator::beginsWith:
    case ComparisonOperator::endsWith:
    case ComparisonOperator::contains:
    case ComparisonOperator::like:
    case ComparisonOperator::in:
    case ComparisonOperator::between:
      break;
  }
  return {};
}

}  // namespace

SqlCondition PredicateCompiler::compile(const Node& node, bool wanted) {
  switch (node.kind) {
    case Node::Kind::constant:
      return always(node.constant == wanted);
    case Node::Kind::comparison:
      return compileComparison(node, wanted);
    case Node::Kind::negation:
      return compile(node.children.front(), !wanted);
    case Node::Kind::conjunction:
    case Node::Kind::disjunction:
      break;
  }
  std::vector<SqlCondition> parts;
  parts.reserve(node.children.size());
  for (const Node& child : node.children) parts.push_back(compile(child, wanted));
  const bool needsAll = (node.kind == Node::Kind::conjunction) == wanted;
  return needsAll ? allOf(std::move(parts)) : anyOf(std::move(parts));
}

SqlCondition PredicateCompiler::compileComparison(const Node& node, bool wanted) {
  switch (node.modifier) {
    case ComparisonModifier::direct:
      break;
    case ComparisonModifier::any:
      return some(node, true, wanted);
    case ComparisonModifier::all:
      return some(node, false, !wanted);
  }
  if (isConstant(node.left) && isConstant(node.right)) return constantTest(node, wanted);
  if (isCount(node.left)) {
    const std::optional<bool> existence = asksForExistence(node.comparison, node.right);
    if (existence) return memberExists(node.left, *existence == wanted);
  }
  return test(node, side(node.left), wanted);
}

SqlCondition PredicateCompiler::test(const Node& node, const Side& left, bool wanted) {
  switch (node.comparison) {
    case Comparison::equal:
      return equal(left, side(node.right), node.option, wanted);
    case Comparison::notEqual:
      return equal(left, side(node.right), node.option, !wanted);
    case Comparison::less:
    case Comparison::lessOrEqual:
    case Comparison::greater:
    case Comparison::greaterOrEqual:
      return ordered(node.comparison, left, side(node.right), wanted);
    case Comparison::beginsWith:
    case Comparison::endsWith:
    case Comparison::like:
      return textTest(node.comparison, left, side(node.right), node.option, wanted);
    case Comparison::contains:
      return contains(node, left, wanted);
    case Comparison::in:
      return isIn(node, left, wanted);
    case Comparison::between:
      return between(left, node.right, wanted);
  }
  return always(!wanted);
}

PredicateCompiler::Side PredicateCompiler::side(const Expression& expression) {
  Side result;
  switch (expression.kind) {
    case Expression::Kind::keyPath:
      return pathSide(expression.path);
    case Expression::Kind::count:
    case Expression::Kind::subqueryCount:
      result.sql = countText(expression);
      result.type = {ColumnKind::integer};
      return result;
    case Expression::Kind::literal:
    case Expression::Kind::argument:
    case Expression::Kind::aggregate:
      break;
  }
  result.constant = &expression;
  return result;
}

PredicateCompiler::Side PredicateCompiler::pathSide(const KeyPathExpression& expression) {
  const ResolvedPath& path = predicate_.path(expression);
  Side result;
  result.type = columnType(path);
  result.isJoined = !path.links.empty();
  if (result.type.kind == ColumnKind::collection) {
    result.sql = keyColumn(followToMembers(place(expression), path));
  } else {
    result.sql = endColumn(followLinks(place(expression), path), path);
  }
  return result;
}

PredicateCompiler::Side PredicateCompiler::memberSide(MemberQuery& members,
                                                      const ResolvedPath& path) {
  Side result;
  result.sql = endColumn(members.end().table, path);
  if (path.attribute != nullptr) {
    result.type = columnType(path.attribute->attributeType());
  } else {
    result.type = {ColumnKind::reference, path.objectEntity()};
  }
  return result;
}

std::string PredicateCompiler::parameter(const Side& constant, const Side& column, Role role) {
  QueryParameter parameter;
  parameter.role = role;
  parameter.type = column.type;
  if (constant.constant->kind == Expression::Kind::literal) {
    parameter.source = QueryParameter::Source::literal;
    parameter.literal = constant.constant->literal;
  } else {
    parameter.index = constant.constant->argument;
    if (constant.element != kWhole) {
      parameter.source = QueryParameter::Source::element;
      parameter.element = static_cast<std::uint32_t>(constant.element);
    }
  }
  return draft_.add(std::move(parameter));
}

}  // namespace coredata
