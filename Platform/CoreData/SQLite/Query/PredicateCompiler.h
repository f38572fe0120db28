#pragma once

#include <string>
#include <vector>

#include "CoreData/Fetching/BoundPredicate.h"
#include "CoreData/SQLite/Query/QueryDraft.h"
#include "CoreData/SQLite/Query/SqlCondition.h"
#include "CoreData/SQLite/Query/SqlScope.h"

namespace coredata {

/// Translates a predicate into a condition on the rows of a scope's table, with the meaning that
/// `foundation::evaluate` lays down: two-valued logic, absent equal to absent, values of different
/// kinds neither equal nor in any order.
///
/// NOT is carried down to the comparisons, where it turns = into !=, EXISTS into NOT EXISTS, and
/// wraps what may be NULL. What is compared with a column is bound as a value that gives the right
/// answer also when the argument is of another kind; see `QueryParameter::Role`.
class PredicateCompiler {
 public:
  /// Joins to `scope` what the predicate's paths need.
  PredicateCompiler(const BoundPredicate& predicate, SqlScope& scope, QueryDraft& draft)
      : predicate_(predicate), draft_(draft), places_{{&scope, scope.table()}} {}

  [[nodiscard]] SqlCondition compile() { return compile(predicate_.shape().root(), true); }

 private:
  using Comparison = foundation::ComparisonOperator;
  using Expression = foundation::ExpressionNode;
  using Node = foundation::PredicateNode;
  using Option = foundation::TextOption;
  using Role = QueryParameter::Role;

  /// One side of a comparison: a value known when the query is run, or an SQL expression.
  struct Side {
    /// A literal, an argument, or one element of an argument; null for an expression.
    const Expression* constant = nullptr;
    int element = kWhole;
    std::string sql;
    ColumnType type;
    bool isJoined = false;
  };
  static constexpr int kWhole = -1;

  // The tree. `wanted` false asks for the opposite.
  [[nodiscard]] SqlCondition compile(const Node& node, bool wanted);
  [[nodiscard]] SqlCondition compileComparison(const Node& node, bool wanted);
  [[nodiscard]] SqlCondition test(const Node& node, const Side& left, bool wanted);

  // Sides.
  [[nodiscard]] Side side(const Expression& expression);
  [[nodiscard]] Side pathSide(const foundation::KeyPathExpression& path);
  [[nodiscard]] Side memberSide(MemberQuery& members, const ResolvedPath& path);
  [[nodiscard]] std::string parameter(const Side& constant, const Side& column, Role role);
  [[nodiscard]] bool isNeverAbsent(const Expression& constant) const;
  [[nodiscard]] const PathStart& place(const foundation::KeyPathExpression& path) const noexcept {
    return places_[path.scope];
  }

  // Comparisons of two values.
  [[nodiscard]] SqlCondition constantTest(Node comparison, bool wanted);
  [[nodiscard]] SqlCondition constantTest(Comparison comparison, const Side& left,
                                          const Side& right, Option option, bool wanted);
  [[nodiscard]] SqlCondition equal(const Side& left, const Side& right, Option option, bool wanted);
  [[nodiscard]] SqlCondition equalToConstant(const Side& column, const Side& constant,
                                             Option option, bool wanted);
  [[nodiscard]] SqlCondition ordered(Comparison comparison, const Side& left, const Side& right,
                                     bool wanted);
  /// One end of BETWEEN.
  [[nodiscard]] Side bound(const Expression& bounds, int element);
  [[nodiscard]] SqlCondition between(const Side& value, const Expression& bounds, bool wanted);
  [[nodiscard]] SqlCondition textTest(Comparison comparison, const Side& left, const Side& right,
                                      Option option, bool wanted);
  /// A call of `textFunction`.
  [[nodiscard]] std::string textCall(Comparison comparison, Option option, const std::string& left,
                                     const std::string& right);
  [[nodiscard]] SqlCondition prefixRange(const Side& column, const Side& prefix, bool wanted);

  // Comparisons with members.
  [[nodiscard]] SqlCondition some(const Node& node, bool outcome, bool wanted);
  [[nodiscard]] SqlCondition contains(const Node& node, const Side& left, bool wanted);
  [[nodiscard]] SqlCondition isIn(const Node& node, const Side& left, bool wanted);
  [[nodiscard]] SqlCondition isInElements(const Side& left, const std::vector<Expression>& elements,
                                          Option option, bool wanted);
  [[nodiscard]] SqlCondition isInList(const Side& column, const Expression& list, Option option,
                                      bool wanted);
  [[nodiscard]] SqlCondition isInTable(const Side& column, const Expression& list, Option option,
                                       bool wanted);
  [[nodiscard]] SqlCondition hasMember(const foundation::KeyPathExpression& path,
                                       const Side& member, Option option, bool wanted);
  [[nodiscard]] std::string countText(const Expression& count);
  [[nodiscard]] SqlCondition memberExists(const Expression& count, bool wanted);
  [[nodiscard]] SqlCondition subqueryCondition(const Expression& count, MemberQuery& members);

  const BoundPredicate& predicate_;
  QueryDraft& draft_;
  /// What each scope of the predicate stands for at the moment, the judged object first.
  std::vector<PathStart> places_;
};

/// The function in SQL that makes a text comparison as memory does: 1 or 0, for two absent values
/// too.
[[nodiscard]] const char* textFunction(foundation::ComparisonOperator comparison,
                                       foundation::TextOption option) noexcept;

/// The table function in SQL whose rows are the members of a list.
inline constexpr char kListTable[] = "list_members";

}  // namespace coredata
