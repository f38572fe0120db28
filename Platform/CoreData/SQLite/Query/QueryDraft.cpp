#include "CoreData/SQLite/Query/QueryDraft.h"

#include <charconv>
#include <utility>

#include "CoreData/SQLite/RowColumns.h"

namespace coredata {

namespace {

/// Which parameters the text has, by their numbers.
std::vector<bool> usedNumbers(std::string_view sql, int lastNumber) {
  std::vector<bool> isUsed(static_cast<std::size_t>(lastNumber) + 1);
  bool isInName = false;
  for (std::size_t i = 0; i < sql.size(); ++i) {
    if (sql[i] == '"') isInName = !isInName;
    if (isInName || sql[i] != '?') continue;
    std::size_t number = 0;
    std::from_chars(sql.data() + i + 1, sql.data() + sql.size(), number);
    isUsed[number] = true;
  }
  return isUsed;
}

}  // namespace

std::string QueryDraft::add(QueryParameter parameter) {
  parameter.number = lastNumber_ + 1;
  lastNumber_ += parameter.width;
  std::string text;
  for (int number = parameter.number; number <= lastNumber_; ++number) {
    text += (text.empty() ? "?" : ", ?") + std::to_string(number);
  }
  parameters_.push_back(std::move(parameter));
  return text;
}

std::string QueryDraft::addTest(foundation::PredicateNode comparison) {
  QueryParameter parameter;
  parameter.source = QueryParameter::Source::test;
  parameter.index = static_cast<std::uint32_t>(tests_.size());
  tests_.push_back(std::move(comparison));
  return add(std::move(parameter));
}

CompiledQuery QueryDraft::finish(std::string sql) && {
  // A side that no comparison can be made with leaves the text, and its parameters with it.
  const std::vector<bool> isUsed = usedNumbers(sql, lastNumber_);
  std::erase_if(parameters_, [&](const QueryParameter& parameter) {
    return !isUsed[static_cast<std::size_t>(parameter.number)];
  });
  return {&model_, std::move(sql), std::move(parameters_), std::move(tests_), callsFunctions_};
}

std::string tableAlias(std::uint32_t table) { return "t" + std::to_string(table); }

std::string column(std::uint32_t table, std::string_view name) {
  return tableAlias(table) + "." + quotedIdentifier(name);
}

std::string keyColumn(std::uint32_t table) { return tableAlias(table) + "._id"; }

std::string endColumn(std::uint32_t table, const ResolvedPath& path) {
  if (path.end != ResolvedPath::End::slot) return keyColumn(table);
  return column(table, path.entity->slots()[path.slot].property->name());
}

}  // namespace coredata
