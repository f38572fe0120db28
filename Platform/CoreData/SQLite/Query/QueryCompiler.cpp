#include "CoreData/SQLite/Query/QueryCompiler.h"

#include <algorithm>

#include "CoreData/Fetching/FetchError.h"
#include "CoreData/SQLite/Query/PredicateCompiler.h"
#include "CoreData/SQLite/Query/SqlScope.h"
#include "CoreData/SQLite/RowColumns.h"

namespace coredata {

using foundation::ArgumentUse;

namespace {

/// What SQLite's parser takes; its stack has a hundred places.
constexpr int kDeepestNesting = 80;

std::vector<ListShape> listsByArgument(const FetchPlan& plan, const QueryVariant& variant) {
  std::vector<ListShape> lists;
  if (plan.predicate() == nullptr) return lists;
  std::size_t next = 0;
  for (const foundation::ArgumentRule& rule : plan.predicate()->shape().argumentRules()) {
    const bool isList = rule.use == ArgumentUse::list;
    lists.push_back(isList ? shapeOfCode(variant.lists[next++]) : ListShape{});
  }
  return lists;
}

/// One SELECT while it is put together.
class SelectStatement {
 public:
  SelectStatement(const FetchPlan& plan, const QueryVariant& variant)
      : plan_(plan),
        variant_(variant),
        draft_(plan.entity().managedObjectModel(), listsByArgument(plan, variant),
               variant.absentArguments),
        scope_(plan.entity(), draft_) {}

  [[nodiscard]] CompiledQuery compile() {
    const std::string columns = resultColumns();
    const std::string condition = where();
    const std::string order = orderBy();
    std::string sql =
        "SELECT " + columns + " FROM " + scope_.text() + condition + groupBy() + order;
    sql += cut();
    return std::move(draft_).finish(std::move(sql));
  }

 private:
  [[nodiscard]] std::string columnOf(const ResolvedPath& path) {
    return endColumn(followLinks({&scope_, scope_.table()}, path), path);
  }

  [[nodiscard]] std::string resultColumns() {
    switch (variant_.result) {
      case QueryResult::rows:
        // The key, the version and the slots, in that order: the opening has compared the table
        // with it. Naming each column would make preparing the statement a third dearer.
        return tableAlias(scope_.table()) + ".*";
      case QueryResult::keys:
        return keyColumn(scope_.table());
      case QueryResult::sortedKeys:
        return keyAndSorts();
      case QueryResult::number:
        return "count(*)";
      case QueryResult::existence:
      case QueryResult::ticks:
        return "1";
      case QueryResult::dictionaries:
        break;
    }
    return dictionaryColumns();
  }

  [[nodiscard]] std::string keyAndSorts() {
    std::string text = keyColumn(scope_.table());
    for (const SortTerm& sort : plan_.sorts()) text += ", " + columnOf(sort.path);
    return text;
  }

  [[nodiscard]] std::string dictionaryColumns() {
    // Groups that differ in nothing that is shown are the only rows that can be alike here.
    std::string text = plan_.isDistinct() && isGrouped() ? "DISTINCT " : "";
    for (const FetchColumn& given : plan_.columns()) {
      if (&given != &plan_.columns().front()) text += ", ";
      text += aggregated(given.aggregate, columnOf(given.path));
    }
    return text;
  }

  [[nodiscard]] static std::string aggregated(Aggregate aggregate, const std::string& column) {
    switch (aggregate) {
      case Aggregate::none:
        return column;
      case Aggregate::sum:
        // The sum of no rows is 0, for which sum() gives NULL.
        return "total(" + column + ")";
      case Aggregate::minimum:
        return "min(" + column + ")";
      case Aggregate::maximum:
        return "max(" + column + ")";
      case Aggregate::average:
        return "avg(" + column + ")";
      case Aggregate::count:
        return "count(" + column + ")";
    }
    return column;
  }

  [[nodiscard]] std::string where() {
    if (plan_.predicate() == nullptr) return {};
    const SqlCondition condition = PredicateCompiler(*plan_.predicate(), scope_, draft_).compile();
    if (condition.depth > kDeepestNesting) {
      throw fetchError(FetchErrorCode::tooDeep, "The predicate of a fetch of " +
                                                    plan_.entity().name() +
                                                    " has too many levels for the store.");
    }
    return " WHERE " + condition.text;
  }

  [[nodiscard]] bool isDictionary() const noexcept {
    return variant_.result == QueryResult::dictionaries;
  }
  /// Whether the order of what the query gives can be told.
  [[nodiscard]] bool hasContent() const noexcept {
    return variant_.result == QueryResult::rows || variant_.result == QueryResult::keys ||
           variant_.result == QueryResult::sortedKeys || isDictionary();
  }
  [[nodiscard]] bool isGrouped() const noexcept { return !plan_.grouping().empty(); }
  [[nodiscard]] bool hasAggregates() const {
    return std::ranges::any_of(plan_.columns(), [](const FetchColumn& given) {
      return given.aggregate != Aggregate::none;
    });
  }
  /// Distinct rows are groups by all that they show.
  [[nodiscard]] bool isGroupedByColumns() const {
    return isDictionary() && plan_.isDistinct() && !isGrouped() && !hasAggregates();
  }
  [[nodiscard]] bool isShown(const ResolvedPath& path) const {
    return std::ranges::find(plan_.columns(), path, &FetchColumn::path) != plan_.columns().end();
  }

  [[nodiscard]] std::string groupBy() {
    std::vector<std::string> columns;
    if (isGroupedByColumns()) {
      for (const FetchColumn& given : plan_.columns()) columns.push_back(columnOf(given.path));
    } else if (isDictionary()) {
      for (const ResolvedPath& path : plan_.grouping()) columns.push_back(columnOf(path));
    }
    return listed(" GROUP BY ", columns);
  }

  [[nodiscard]] std::string orderBy() {
    if (variant_.order == QueryOrder::none || !hasContent()) return {};
    std::vector<std::string> terms;
    for (const SortTerm& sort : plan_.sorts()) terms.push_back(sortColumn(sort));
    if (isGroupedByColumns()) {
      terms.push_back("min(" + keyColumn(scope_.table()) + ")");
    } else if (isDictionary() && isGrouped()) {
      for (const ResolvedPath& path : plan_.grouping()) {
        if (!isSortedBy(path)) terms.push_back(columnOf(path));
      }
    } else if (isDictionary() && hasAggregates()) {
      // One row is in order.
      terms.clear();
    } else if (variant_.order == QueryOrder::complete) {
      terms.push_back(keyColumn(scope_.table()));
    }
    return listed(" ORDER BY ", terms);
  }

  [[nodiscard]] std::string sortColumn(const SortTerm& sort) {
    std::string text = columnOf(sort.path);
    if (isGroupedByColumns() && !isShown(sort.path)) {
      text = (sort.ascending ? "min(" : "max(") + text + ")";
    }
    return sort.ascending ? text : text + " DESC";
  }

  [[nodiscard]] bool isSortedBy(const ResolvedPath& path) const {
    return std::ranges::find(plan_.sorts(), path, &SortTerm::path) != plan_.sorts().end();
  }

  [[nodiscard]] static std::string listed(std::string text, const std::vector<std::string>& terms) {
    if (terms.empty()) return {};
    for (const std::string& term : terms) {
      if (&term != &terms.front()) text += ", ";
      text += term;
    }
    return text;
  }

  [[nodiscard]] std::string cut() {
    if (variant_.result == QueryResult::existence) return " LIMIT 1";
    std::string text;
    if (variant_.hasLimit) text = " LIMIT " + number(QueryParameter::Source::limit);
    if (!variant_.hasOffset) return text;
    // SQLite knows no OFFSET without a LIMIT; a negative one is none.
    if (!variant_.hasLimit) text = " LIMIT -1";
    return text + " OFFSET " + number(QueryParameter::Source::offset);
  }

  [[nodiscard]] std::string number(QueryParameter::Source source) {
    QueryParameter parameter;
    parameter.source = source;
    return draft_.add(std::move(parameter));
  }

  const FetchPlan& plan_;
  const QueryVariant& variant_;
  QueryDraft draft_;
  SqlScope scope_;
};

}  // namespace

CompiledQuery compileQuery(const FetchPlan& plan, const QueryVariant& variant) {
  return SelectStatement(plan, variant).compile();
}

}  // namespace coredata
