#include "CoreData/SQLite/HistoryPruning.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "CoreData/SQLite/Connection.h"
#include "CoreData/SQLite/HistoryReader.h"
#include "CoreData/SQLite/StoreMarks.h"
#include "CoreData/SQLite/WriteTransaction.h"

namespace coredata {

namespace {

using SteadyClock = std::chrono::steady_clock;

// What one transaction deletes: about ten milliseconds' worth.
constexpr std::int64_t kTransactionsAtATime = 4000;
constexpr std::int64_t kChangesAtATime = 20'000;

/// The number behind the oldest ones that are deleted at a time, but not more than `before`.
std::int64_t endOfOldest(Connection& connection, std::int64_t before) {
  Statement& statement = connection.statement({StatementKind::nthTransaction}, [] {
    return "SELECT number FROM _transaction ORDER BY number LIMIT 1 OFFSET ?";
  });
  const StatementUse use(statement);
  statement.bindInteger(1, kTransactionsAtATime);
  return statement.step() ? std::min(before, statement.integer(0)) : before;
}

std::int64_t deleteTransactions(Connection& connection, std::int64_t before) {
  Statement& statement = connection.statement({StatementKind::removeTransactions}, [] {
    return "DELETE FROM _transaction WHERE number<?";
  });
  statement.bindInteger(1, before);
  statement.run();
  return sqlite3_changes64(connection.handle());
}

/// A place among the changes, before which some are deleted.
struct Place {
  std::int64_t transaction;
  std::int64_t sequence;
};

Place endOfOldestChanges(Connection& connection, std::int64_t before) {
  Statement& statement = connection.statement({StatementKind::nthChange}, [] {
    return "SELECT \"transaction\", sequence FROM _change ORDER BY \"transaction\", sequence "
           "LIMIT 1 OFFSET ?";
  });
  const StatementUse use(statement);
  statement.bindInteger(1, kChangesAtATime);
  if (!statement.step() || statement.integer(0) >= before) return {before, 0};
  return {statement.integer(0), statement.integer(1)};
}

std::int64_t deleteChanges(Connection& connection, const Place& before) {
  Statement& statement = connection.statement({StatementKind::removeChanges}, [] {
    return "DELETE FROM _change WHERE (\"transaction\", sequence)<(?, ?)";
  });
  statement.bindInteger(1, before.transaction);
  statement.bindInteger(2, before.sequence);
  statement.run();
  return sqlite3_changes64(connection.handle());
}

}  // namespace

std::int64_t HistoryPruning::deleteBefore(double stamp) {
  std::int64_t last = 0;
  {
    const Reading reading(session_);
    last = lastNumberBefore(reading.connection(), stamp);
  }
  return deleteBefore(last + 1);
}

std::int64_t HistoryPruning::deleteBefore(std::int64_t number) {
  deleted_ = 0;
  while (true) {
    const SteadyClock::time_point begin = SteadyClock::now();
    if (!deleteSome(number)) return deleted_;
    // Another process that waits for its turn asks again now and then, and must find us gone.
    std::this_thread::sleep_for((SteadyClock::now() - begin) / 2);
  }
}

bool HistoryPruning::deleteSome(std::int64_t before) {
  WriteTransaction transaction(session_);
  Connection& connection = transaction.connection();
  const HistoryPosition newest = newestTransactionIn(connection);
  const std::int64_t end = endOfOldest(connection, before);
  const std::int64_t transactions = deleteTransactions(connection, end);
  // Changes without a transaction are nobody's, so their number does not matter: one transaction
  // may have had a million.
  const std::int64_t changes = deleteChanges(connection, endOfOldestChanges(connection, end));
  if (transactions + changes == 0) return false;
  raiseHistoryMarks(connection, newest);
  transaction.noteOtherChange();
  transaction.commit({});
  deleted_ += transactions;
  return end < before || changes > 0;
}

}  // namespace coredata
