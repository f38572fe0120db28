#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "CoreData/Fetching/DictionaryRows.h"
#include "CoreData/Fetching/FetchPlan.h"
#include "CoreData/Rows/Row.h"
#include "CoreData/SQLite/Query/ObjectArguments.h"
#include "CoreData/SQLite/ReadSession.h"
#include "Foundation/Values/Value.h"

namespace coredata {

/// Answers fetches from the store, in the state that the session sees. Making one costs nothing.
///
/// `arguments` are the predicate's, one for each of its places. A limit of 0 is none. Every
/// operation throws `foundation::Error` for a failing store and for a predicate that is too deep
/// for it.
///
/// Threading: the session's.
class QueryRunner {
 public:
  /// Both must outlive the runner.
  QueryRunner(ReadSession& session, const ObjectArguments& objects) noexcept
      : session_(session), objects_(objects) {}

  /// The rows that satisfy the plan's predicate in the plan's order, ties and everything without a
  /// sort by ascending key.
  [[nodiscard]] std::vector<foundation::Ref<Row>> rows(const FetchPlan& plan,
                                                       std::span<const foundation::Value> arguments,
                                                       std::size_t limit = 0,
                                                       std::size_t offset = 0);
  /// The first of these rows, or null.
  [[nodiscard]] foundation::Ref<Row> firstRow(const FetchPlan& plan,
                                              std::span<const foundation::Value> arguments,
                                              std::size_t offset = 0);
  /// The keys of the same rows.
  [[nodiscard]] std::vector<ObjectKey> keys(const FetchPlan& plan,
                                            std::span<const foundation::Value> arguments,
                                            std::size_t limit = 0, std::size_t offset = 0);
  /// How many rows there are; with a limit the store stops looking after so many.
  [[nodiscard]] std::int64_t count(const FetchPlan& plan,
                                   std::span<const foundation::Value> arguments,
                                   std::size_t limit = 0);
  /// The plan's columns for each row or group.
  [[nodiscard]] DictionaryRows dictionaries(const FetchPlan& plan,
                                            std::span<const foundation::Value> arguments,
                                            std::size_t limit = 0, std::size_t offset = 0);

 private:
  /// The rows of keys that a query gave, in their order.
  [[nodiscard]] std::vector<foundation::Ref<Row>> rowsOf(const NSEntityDescription& entity,
                                                         const std::vector<ObjectKey>& keys);

  ReadSession& session_;
  const ObjectArguments& objects_;
};

}  // namespace coredata
