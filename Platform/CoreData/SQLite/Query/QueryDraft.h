#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "CoreData/SQLite/Query/CompiledQuery.h"

namespace coredata {

/// What the parts of a query share while it is put together: the numbers of tables and parameters.
class QueryDraft {
 public:
  QueryDraft(const NSManagedObjectModel& model, std::vector<ListShape> listsByArgument,
             std::uint64_t absentArguments)
      : model_(model),
        listsByArgument_(std::move(listsByArgument)),
        absentArguments_(absentArguments) {}

  /// A number for a table that no other one in the query has.
  [[nodiscard]] std::uint32_t nextTable() noexcept { return tables_++; }
  /// Numbers the parameter and gives its text ("?3"), or for several of them "?3, ?4".
  std::string add(QueryParameter parameter);
  /// A parameter that is true when the comparison holds.
  std::string addTest(foundation::PredicateNode comparison);
  [[nodiscard]] ListShape list(std::uint32_t argument) const noexcept {
    return listsByArgument_[argument];
  }
  /// Whether the argument is known to be there in every run of this query.
  [[nodiscard]] bool isPresent(std::uint32_t argument) const noexcept {
    return argument < kTellableArguments && (absentArguments_ >> argument & 1U) == 0;
  }

  /// Notes that the query calls a function of ours.
  void noteFunction() noexcept { callsFunctions_ = true; }

  [[nodiscard]] CompiledQuery finish(std::string sql) &&;

 private:
  const NSManagedObjectModel& model_;
  std::vector<ListShape> listsByArgument_;
  std::uint64_t absentArguments_;
  std::vector<QueryParameter> parameters_;
  std::vector<foundation::PredicateNode> tests_;
  std::uint32_t tables_ = 0;
  int lastNumber_ = 0;
  bool callsFunctions_ = false;
};

/// The alias of a table, "t0".
[[nodiscard]] std::string tableAlias(std::uint32_t table);

/// A column of a table, `t0."date"`.
[[nodiscard]] std::string column(std::uint32_t table, std::string_view name);
/// The column that holds a table's keys.
[[nodiscard]] std::string keyColumn(std::uint32_t table);
/// What a path reads once the table that has its end is known.
[[nodiscard]] std::string endColumn(std::uint32_t table, const ResolvedPath& path);

}  // namespace coredata
