#include "Tests/Support/SqlTrace.h"

#include <sqlite3.h>

#include <utility>

#include "CoreData/SQLite/StoreCore.h"

namespace support {

using coredata::ConnectionLease;
using coredata::SQLiteStore;

namespace {

int note(unsigned /*event*/, void* queries, void* statement, void* /*text*/) {
  const std::string sql = sqlite3_sql(static_cast<sqlite3_stmt*>(statement));
  if (sql.starts_with("SELECT ")) static_cast<std::vector<std::string>*>(queries)->push_back(sql);
  return 0;
}

}  // namespace

SqlTrace::SqlTrace(const SQLiteStore& store) : store_(store) {
  const ConnectionLease lease = store.core().lease();
  sqlite3_trace_v2(lease->handle(), SQLITE_TRACE_STMT, &note, &queries_);
}

SqlTrace::~SqlTrace() {
  const ConnectionLease lease = store_.core().lease();
  sqlite3_trace_v2(lease->handle(), 0, nullptr, nullptr);
}

std::vector<std::string> SqlTrace::takeQueries() { return std::exchange(queries_, {}); }

std::vector<std::string> SqlTrace::plan(std::string_view query) const {
  constexpr int kStep = 3;
  const ConnectionLease lease = store_.core().lease();
  coredata::Statement statement(*lease, "EXPLAIN QUERY PLAN " + std::string(query));
  std::vector<std::string> steps;
  while (statement.step()) steps.emplace_back(statement.text(kStep));
  return steps;
}

}  // namespace support
