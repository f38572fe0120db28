#include "CoreData/SQLite/Query/QueryCache.h"

#include "CoreData/SQLite/Query/ListTable.h"
#include "CoreData/SQLite/Query/QueryCompiler.h"
#include "CoreData/SQLite/Query/TextFunctions.h"

namespace coredata {

QueryCache& QueryCache::of(Connection& connection) {
  if (connection.queries == nullptr) {
    int result = installTextFunctions(connection.handle());
    if (result == SQLITE_OK) result = installListTable(connection.handle());
    if (result != SQLITE_OK) connection.fail(result, {});
    connection.queries = std::make_shared<QueryCache>();
  }
  return *connection.queries;
}

QueryCache::PlanQueries& QueryCache::ofPlan(const FetchPlan& plan) {
  const auto [found, isNew] = plans_.try_emplace(plan.serial());
  if (isNew) found->second.indexGivesOrder = coredata::indexGivesOrder(plan);
  return found->second;
}

const QueryCache::Query& QueryCache::query(const FetchPlan& plan, const QueryVariant& variant) {
  for (const std::unique_ptr<Query>& known : ofPlan(plan).variants) {
    if (known->variant == variant) return *known;
  }
  auto made = std::make_unique<Query>(variant, compileQuery(plan, variant), ++lastNumber_);
  // Starting over is cheaper than keeping count of what is used.
  if (size_ >= kMaxQueries) {
    plans_.clear();
    size_ = 0;
  }
  ++size_;
  return *ofPlan(plan).variants.emplace_back(std::move(made));
}

bool QueryCache::indexGivesOrder(const FetchPlan& plan) { return ofPlan(plan).indexGivesOrder; }

}  // namespace coredata
