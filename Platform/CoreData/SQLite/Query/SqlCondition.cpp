#include "CoreData/SQLite/Query/SqlCondition.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace coredata {

namespace {

using Form = SqlCondition::Form;

/// SQLite refuses an expression of more than a thousand levels, and a row of ANDs is a level each.
constexpr std::size_t kLongestRow = 200;
/// From this depth on the deepest part comes first: SQLite's parser keeps what stands before an
/// open parenthesis on a small stack.
constexpr int kDeep = 6;

SqlCondition parenthesised(SqlCondition condition) {
  return {"(" + std::move(condition.text) + ")", Form::atom, condition.depth + 1};
}

SqlCondition join(std::vector<SqlCondition> parts, Form form) {
  const std::string_view word = form == Form::conjunction ? " AND " : " OR ";
  SqlCondition result{{}, form, 0};
  for (SqlCondition& part : parts) {
    // AND binds closer than OR, so that only the other way round needs a parenthesis.
    if (form == Form::conjunction && part.form == Form::disjunction) {
      part = parenthesised(std::move(part));
    }
    if (!result.text.empty()) result.text += word;
    result.text += part.text;
    result.depth = std::max(result.depth, part.depth);
  }
  return result;
}

/// Long rows become rows of rows.
std::vector<SqlCondition> grouped(std::vector<SqlCondition> parts, Form form) {
  std::vector<SqlCondition> groups;
  for (std::size_t first = 0; first < parts.size(); first += kLongestRow) {
    const auto from = std::make_move_iterator(parts.begin() + static_cast<std::ptrdiff_t>(first));
    const std::size_t count = std::min(kLongestRow, parts.size() - first);
    groups.push_back(parenthesised(
        join(std::vector<SqlCondition>(from, from + static_cast<std::ptrdiff_t>(count)), form)));
  }
  return groups;
}

SqlCondition joined(std::vector<SqlCondition> parts, Form form) {
  if (parts.size() == 1) return std::move(parts.front());
  const auto deepest = std::ranges::max_element(parts, {}, &SqlCondition::depth);
  if (deepest->depth >= kDeep) std::rotate(parts.begin(), deepest, deepest + 1);
  while (parts.size() > kLongestRow) parts = grouped(std::move(parts), form);
  return join(std::move(parts), form);
}

}  // namespace

SqlCondition always(bool value) { return {value ? "1" : "0"}; }

SqlCondition allOf(std::vector<SqlCondition> parts) {
  return parts.empty() ? always(true) : joined(std::move(parts), Form::conjunction);
}

SqlCondition anyOf(std::vector<SqlCondition> parts) {
  return parts.empty() ? always(false) : joined(std::move(parts), Form::disjunction);
}

SqlCondition holds(SqlCondition condition, bool wanted) {
  if (wanted) return condition;
  condition = parenthesised(std::move(condition));
  condition.text += " IS NOT TRUE";
  return condition;
}

SqlCondition holdsOrNot(std::string text, bool wanted) {
  return {wanted ? std::move(text) : "NOT " + std::move(text)};
}

}  // namespace coredata
