#include "CoreData/SQLite/Query/QueryCache.h"

#include "CoreData/SQLite/Query/ListTable.h"
#include "CoreData/SQLite/Query/QueryCompiler.h"
#include "CoreData/SQLite/Query/TextFunctions.h"

namespace coredata {

using foundation::Ref;

QueryCache& QueryCache::of(Connection& connection) {
  if (connection.queries == nullptr) connection.queries = std::make_shared<QueryCache>(connection);
  return *connection.queries;
}

QueryCache::PlanQueries& QueryCache::ofPlan(const FetchPlan& plan) {
  if (plan.serial() == lastPlan_) return *lastQueries_;
  std::unique_ptr<PlanQueries>& queries = plans_[plan.serial()];
  if (queries == nullptr) {
    auto made = std::make_unique<PlanQueries>();
    made->indexGivesOrder = coredata::indexGivesOrder(plan);
    queries = std::move(made);
  }
  lastPlan_ = plan.serial();
  lastQueries_ = queries.get();
  return *queries;
}

QueryCache::Kept& QueryCache::kept(const FetchPlan& plan, const QueryVariant& variant) {
  for (const std::unique_ptr<Kept>& known : ofPlan(plan).variants) {
    if (known->variant == variant) return *known;
  }
  auto made = std::make_unique<Kept>();
  made->compiled = compileQuery(plan, variant);
  made->variant = variant;
  made->number = ++lastNumber_;
  // Starting over is cheaper than keeping count of what is used.
  if (size_ >= kMaxQueries) {
    plans_.clear();
    lastPlan_ = 0;
    size_ = 0;
  }
  ++size_;
  return *ofPlan(plan).variants.emplace_back(std::move(made));
}

const QueryCache::Query& QueryCache::query(const FetchPlan& plan, const QueryVariant& variant) {
  Kept& found = kept(plan, variant);
  if (found.statement == nullptr || found.statementDrops != connection_.statementDrops()) {
    provideFor(found.compiled);
    found.statement = &connection_.statement({StatementKind::query, found.number, plan.serial()},
                                             [&] { return found.compiled.sql; });
    found.statementDrops = connection_.statementDrops();
  }
  return found;
}

void QueryCache::provideFor(const CompiledQuery& query) {
  if (hasFunctions_ || !query.callsFunctions) return;
  int result = installTextFunctions(connection_.handle());
  if (result == SQLITE_OK) result = installListTable(connection_.handle());
  if (result != SQLITE_OK) connection_.fail(result, {});
  hasFunctions_ = true;
}

Ref<const FetchPlan> QueryCache::showingSorts(const FetchPlan& plan) {
  Ref<const FetchPlan>& made = ofPlan(plan).showingSorts;
  if (!made) made = plan.showingSorts();
  return made;
}

bool QueryCache::indexGivesOrder(const FetchPlan& plan) { return ofPlan(plan).indexGivesOrder; }

}  // namespace coredata
