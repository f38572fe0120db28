#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "CoreData/SQLite/Connection.h"
#include "CoreData/SQLite/Query/CompiledQuery.h"
#include "absl/container/flat_hash_map.h"

namespace coredata {

/// The queries that a connection has run: text and parameters by plan and variant. Finding one
/// again hashes one number and builds no text.
///
/// Threading: its connection's.
class QueryCache {
 public:
  /// More variants than this are not kept: requests put together at run time would fill the memory.
  static constexpr std::size_t kMaxQueries = 512;

  /// The connection's own, made at the first use together with the functions that queries call.
  [[nodiscard]] static QueryCache& of(Connection& connection);

  struct Query {
    QueryVariant variant;
    CompiledQuery compiled;
    /// Tells this query's statement from all others that the connection keeps for the plan.
    std::uint32_t number;
  };
  /// Stays valid until the next call.
  [[nodiscard]] const Query& query(const FetchPlan& plan, const QueryVariant& variant);
  /// As the function of that name, once for each plan.
  [[nodiscard]] bool indexGivesOrder(const FetchPlan& plan);

  [[nodiscard]] std::size_t size() const noexcept { return size_; }

 private:
  struct PlanQueries {
    std::vector<std::unique_ptr<Query>> variants;
    bool indexGivesOrder = false;
  };
  [[nodiscard]] PlanQueries& ofPlan(const FetchPlan& plan);

  absl::flat_hash_map<std::uint64_t, PlanQueries> plans_;
  std::size_t size_ = 0;
  std::uint32_t lastNumber_ = 0;
};

}  // namespace coredata
