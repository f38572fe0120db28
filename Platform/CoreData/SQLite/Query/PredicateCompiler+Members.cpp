#include <utility>

#include "CoreData/SQLite/Query/PredicateCompiler.h"

namespace coredata {

using foundation::ExpressionNode;
using foundation::KeyPathExpression;

namespace {

/// A subquery in parentheses takes about as much room on the parser's stack as two of them.
constexpr int kSubqueryDepth = 2;

SqlCondition exists(const MemberQuery& members, const SqlCondition& condition, bool wanted) {
  // A condition of the form `a OR b` must not fall apart behind the tie.
  const bool needsParentheses = condition.form == SqlCondition::Form::disjunction;
  const std::string text = needsParentheses ? "(" + condition.text + ")" : condition.text;
  SqlCondition result = holdsOrNot("EXISTS (" + members.text("1", text) + ")", wanted);
  result.depth = condition.depth + kSubqueryDepth;
  return result;
}

std::string listTable(const std::string& parameter, QueryDraft& draft) {
  draft.noteFunction();
  return std::string(kListTable) + "(" + parameter + ")";
}

}  // namespace

SqlCondition PredicateCompiler::some(const Node& node, bool outcome, bool wanted) {
  const ResolvedPath& path = predicate_.path(node.left.path);
  if (columnType(path).kind != ColumnKind::collection) {
    // The path's one value decides: "some" of it is all of it.
    return test(node, pathSide(node.left.path), outcome == wanted);
  }
  MemberQuery members(place(node.left.path), path, draft_);
  const SqlCondition condition = test(node, memberSide(members, path), outcome);
  return exists(members, condition, wanted);
}

SqlCondition PredicateCompiler::contains(const Node& node, const Side& left, bool wanted) {
  if (left.constant == nullptr) {
    if (left.type.kind == ColumnKind::collection) {
      return hasMember(node.left.path, side(node.right), node.option, wanted);
    }
    return textTest(node.comparison, left, side(node.right), node.option, wanted);
  }
  const Side part = side(node.right);
  SqlCondition inText = textTest(node.comparison, left, part, node.option, wanted);
  if (node.left.kind != ExpressionNode::Kind::argument) return inText;
  // Only the argument's value tells whether a list or a text is meant; the other one has nothing.
  std::vector<SqlCondition> parts;
  parts.push_back(isInTable(part, node.left, node.option, wanted));
  parts.push_back(std::move(inText));
  return wanted ? anyOf(std::move(parts)) : allOf(std::move(parts));
}

SqlCondition PredicateCompiler::isIn(const Node& node, const Side& left, bool wanted) {
  switch (node.right.kind) {
    case Expression::Kind::aggregate:
      return isInElements(left, node.right.elements, node.option, wanted);
    case Expression::Kind::argument:
      return isInList(left, node.right, node.option, wanted);
    case Expression::Kind::keyPath:
      if (columnType(predicate_.path(node.right.path)).kind != ColumnKind::collection) break;
      return hasMember(node.right.path, left, node.option, wanted);
    case Expression::Kind::literal:
    case Expression::Kind::count:
    case Expression::Kind::subqueryCount:
      break;
  }
  return always(!wanted);
}

SqlCondition PredicateCompiler::isInElements(const Side& left,
                                             const std::vector<Expression>& elements, Option option,
                                             bool wanted) {
  std::vector<SqlCondition> parts;
  std::string members;
  for (const Expression& element : elements) {
    const Side member = side(element);
    const bool isPlain = left.constant == nullptr && option == Option::exact &&
                         member.constant != nullptr && isNeverAbsent(element);
    if (isPlain) {
      members += (members.empty() ? "" : ", ") + parameter(member, left, Role::equality);
    } else {
      parts.push_back(equal(left, member, option, wanted));
    }
  }
  if (!members.empty()) {
    parts.insert(parts.begin(), holds({left.sql + " IN (" + members + ")"}, wanted));
  }
  return wanted ? anyOf(std::move(parts)) : allOf(std::move(parts));
}

SqlCondition PredicateCompiler::isInList(const Side& column, const Expression& list, Option option,
                                         bool wanted) {
  if (option != Option::exact && column.type.kind == ColumnKind::text) {
    return isInTable(column, list, option, wanted);
  }
  const ListShape shape = draft_.list(list.argument);
  if (shape.form == ListForm::empty) {
    if (!shape.hasAbsent) return always(!wanted);
    return {column.sql + (wanted ? " IS NULL" : " IS NOT NULL")};
  }
  QueryParameter parameter;
  parameter.source = shape.form == ListForm::table ? QueryParameter::Source::list
                                                   : QueryParameter::Source::members;
  parameter.type = column.type;
  parameter.index = list.argument;
  parameter.width = width(shape.form);
  std::string members = draft_.add(std::move(parameter));
  if (shape.form == ListForm::table) members = "SELECT value FROM " + listTable(members, draft_);
  members = "(" + members + ")";
  SqlCondition isMember{column.sql + " IN " + members};
  if (shape.hasAbsent) {
    isMember.text += " OR " + column.sql + " IS NULL";
    isMember.form = SqlCondition::Form::disjunction;
  }
  return holds(std::move(isMember), wanted);
}

SqlCondition PredicateCompiler::isInTable(const Side& column, const Expression& list, Option option,
                                          bool wanted) {
  QueryParameter parameter;
  parameter.source = QueryParameter::Source::list;
  parameter.type = column.type;
  parameter.index = list.argument;
  const std::string table = listTable(draft_.add(std::move(parameter)), draft_);
  const bool isFolded = option != Option::exact && column.type.kind == ColumnKind::text;
  const std::string matches = isFolded ? textCall(Comparison::equal, option, "value", column.sql)
                                       : "value IS " + column.sql;
  return holdsOrNot("EXISTS (SELECT 1 FROM " + table + " WHERE " + matches + ")", wanted);
}

SqlCondition PredicateCompiler::hasMember(const KeyPathExpression& expression, const Side& member,
                                          Option option, bool wanted) {
  const ResolvedPath& path = predicate_.path(expression);
  MemberQuery members(place(expression), path, draft_);
  const SqlCondition condition = equal(memberSide(members, path), member, option, true);
  return exists(members, condition, wanted);
}

std::string PredicateCompiler::countText(const Expression& count) {
  MemberQuery members(place(count.path), predicate_.path(count.path), draft_);
  const SqlCondition condition = subqueryCondition(count, members);
  const bool needsParentheses = condition.form == SqlCondition::Form::disjunction;
  const std::string text = needsParentheses ? "(" + condition.text + ")" : condition.text;
  return "(" + members.text("count(*)", text) + ")";
}

SqlCondition PredicateCompiler::memberExists(const Expression& count, bool wanted) {
  MemberQuery members(place(count.path), predicate_.path(count.path), draft_);
  return exists(members, subqueryCondition(count, members), wanted);
}

SqlCondition PredicateCompiler::subqueryCondition(const Expression& count, MemberQuery& members) {
  if (count.condition.empty()) return {};
  places_.push_back(members.end());
  SqlCondition condition = compile(count.condition.front(), true);
  places_.pop_back();
  return condition;
}

}  // namespace coredata
