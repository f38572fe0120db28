#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "CoreData/SQLite/Connection.h"
#include "CoreData/SQLite/Query/CompiledQuery.h"
#include "Foundation/Internal/HashTables.h"

namespace coredata {

/// The queries that a connection has run: text and parameters by plan and variant. Finding one
/// again hashes one number and builds no text.
///
/// Threading: its connection's.
class QueryCache {
 public:
  /// More variants than this are not kept: requests put together at run time would fill the memory.
  static constexpr std::size_t kMaxQueries = 512;

  /// The connection's own, made at the first use.
  [[nodiscard]] static QueryCache& of(Connection& connection);
  explicit QueryCache(Connection& connection) noexcept : connection_(connection) {}

  struct Query {
    CompiledQuery compiled;
    Statement* statement = nullptr;
  };
  /// The query, with its statement prepared. Stays valid until the next call, and as long as the
  /// connection prepares nothing else.
  [[nodiscard]] const Query& query(const FetchPlan& plan, const QueryVariant& variant);
  /// Teaches the connection the functions that the query calls. Most programs' queries call none.
  void provideFor(const CompiledQuery& query);
  /// As the function of that name, once for each plan.
  [[nodiscard]] bool indexGivesOrder(const FetchPlan& plan);
  /// As the plan's own function of that name, once for each plan.
  [[nodiscard]] foundation::Ref<const FetchPlan> showingSorts(const FetchPlan& plan);

  [[nodiscard]] std::size_t size() const noexcept { return size_; }

 private:
  struct Kept : Query {
    QueryVariant variant;
    /// Tells this query's statement from all others that the connection keeps for the plan.
    std::uint32_t number = 0;
    /// What the connection's count of drops was when the statement was asked for.
    std::uint64_t statementDrops = 0;
  };
  struct PlanQueries {
    std::vector<std::unique_ptr<Kept>> variants;
    bool indexGivesOrder = false;
    /// Null until it is asked for.
    foundation::Ref<const FetchPlan> showingSorts;
  };
  [[nodiscard]] PlanQueries& ofPlan(const FetchPlan& plan);
  [[nodiscard]] Kept& kept(const FetchPlan& plan, const QueryVariant& variant);

  Connection& connection_;
  foundation::HashMap<std::uint64_t, std::unique_ptr<PlanQueries>> plans_;
  std::uint64_t lastPlan_ = 0;
  PlanQueries* lastQueries_ = nullptr;
  std::size_t size_ = 0;
  std::uint32_t lastNumber_ = 0;
  bool hasFunctions_ = false;
};

}  // namespace coredata
