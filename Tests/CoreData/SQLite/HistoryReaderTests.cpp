#include "CoreData/SQLite/HistoryReader.h"

#include <gtest/gtest.h>

#include "CoreData/SQLite/StoreCore.h"
#include "Foundation/Internal/ManualClock.h"
#include "Tests/CoreData/SQLite/HistoryFixture.h"
#include "Tests/Support/SqlTrace.h"

namespace {
using coredata::HistoryBounds;
using coredata::HistoryReader;
using coredata::HistoryRecords;
using coredata::ReadSession;
using shelf::authored;
using shelf::historyOf;
using shelf::notAuthored;
using shelf::readHistory;
using shelf::StoreFile;
using support::SqlTrace;
using Lines = std::vector<std::string>;

/// A save of a book by that author.
void save(ReadSession& session, const std::optional<std::string>& author) {
  coredata::WriteTransaction transaction(session);
  const auto row = shelf::book(*session.store(), "Emma");
  row->setKey(transaction.reserveKeys(row->entity(), 1));
  transaction.insert(*row);
  transaction.commit({author, std::nullopt});
}

/// How many instructions SQLite takes for `work`, in thousands.
template <typename Work>
int costOf(const coredata::SQLiteStore& store, Work&& work) {
  constexpr int kStep = 100;
  int steps = 0;
  {
    const auto lease = store.core().lease();
    sqlite3_progress_handler(
        lease->handle(), kStep, [](void* count) { return ++*static_cast<int*>(count), 0; }, &steps);
  }
  work();
  const auto lease = store.core().lease();
  sqlite3_progress_handler(lease->handle(), 0, nullptr, nullptr);
  return steps;
}

/// The plans of what reading within the bounds asks of the tables of the history.
Lines plansOf(const coredata::SQLiteStore& store, ReadSession& session,
              const HistoryBounds& bounds) {
  SqlTrace trace(store);
  static_cast<void>(readHistory(session, bounds));
  Lines plans;
  for (const std::string& query : trace.takeQueries()) {
    for (const std::string& step : trace.plan(query)) {
      if (std::ranges::find(plans, step) == plans.end()) plans.push_back(step);
    }
  }
  return plans;
}
}  // namespace

TEST(HistoryReader, LeavesOutWhatEntitiesOfAnotherVersionDid) {
  const StoreFile file;
  shelf::writeHistory(file, {.transactions = 2, .changesOfEach = 2});
  shelf::query(file.path(),
               "UPDATE _change SET entity=(SELECT id FROM _name WHERE text='Pamphlet') "
               "WHERE \"transaction\"=1 OR sequence=1");
  ReadSession session(file.open());

  const HistoryRecords records = readHistory(session);

  EXPECT_EQ(historyOf(records), "1:0 2:1");
  EXPECT_EQ(records.changes.front().sequence, 2U);
}

TEST(HistoryReader, PassesOverChangesWithoutATransaction) {
  const StoreFile file;
  shelf::writeHistory(file, {.transactions = 6, .changesOfEach = 2});
  shelf::query(file.path(), "DELETE FROM _transaction WHERE number IN (1, 3, 6)");
  ReadSession session(file.open());

  EXPECT_EQ(historyOf(readHistory(session)), "2:2 4:2 5:2");
}

TEST(HistoryReader, FindsAStampAmongNumbersWithGaps) {
  const StoreFile file;
  shelf::writeHistory(file, {.transactions = 200});
  shelf::query(file.path(),
               "DELETE FROM _transaction WHERE number%7>1 OR number BETWEEN 60 AND 90");
  ReadSession session(file.open());

  for (int stamp = -1; stamp <= 201; ++stamp) {
    HistoryBounds after;
    after.afterStamp = stamp;
    HistoryBounds upTo;
    upTo.lastStamp = stamp;
    const Lines kept = shelf::query(file.path(), "SELECT sum(timestamp>" + std::to_string(stamp) +
                                                     "), sum(timestamp<=" + std::to_string(stamp) +
                                                     ") FROM _transaction");
    const auto count = [&](const HistoryBounds& bounds) {
      return std::to_string(readHistory(session, bounds).transactions.size());
    };
    ASSERT_EQ(kept, Lines{count(after) + "|" + count(upTo)}) << stamp;
  }
}

TEST(HistoryReader, MissesNobodyWhoeverTakesTurns) {
  const StoreFile file;
  ReadSession session(file.open());
  using Author = std::optional<std::string>;
  const std::vector<Author> authors = {"app", std::nullopt, "share", "cloud"};
  std::vector<Author> saved;
  unsigned state = 1;
  for (int i = 0; i < 60; ++i) {
    state = state * 1103515245 + 12345;
    saved.push_back(authors[(state >> 16) % (i < 30 ? 4 : 2)]);
    save(session, saved.back());
    for (const Author& author : authors) {
      const auto count = static_cast<std::size_t>(std::ranges::count(saved, author));
      ASSERT_EQ(readHistory(session, authored(author)).transactions.size(), count) << i;
      ASSERT_EQ(readHistory(session, notAuthored(author)).transactions.size(), saved.size() - count)
          << i;
    }
  }
}

TEST(HistoryReader, MissesNobodyInAStoreThatHadNoMarks) {
  const StoreFile file;
  shelf::writeHistory(file, {.transactions = 10, .author = "share", .hasMarks = false});
  ReadSession session(file.open());
  EXPECT_EQ(readHistory(session, notAuthored("app")).transactions.size(), 10U);

  for (int i = 0; i < 3; ++i) save(session, "app");

  EXPECT_EQ(readHistory(session, notAuthored("app")).transactions.size(), 10U);
  EXPECT_EQ(historyOf(readHistory(session, notAuthored("share"))), "11:1 12:1 13:1");
  EXPECT_EQ(readHistory(session, authored("share")).transactions.size(), 10U);
}

TEST(HistoryReader, SeesNothingNewAtOneCostHoweverMuchIsItsOwn) {
  const auto cost = [](std::int64_t transactions) {
    const StoreFile file;
    const foundation::ManualClock clock(-100);
    {
      ReadSession session(file.open());
      save(session, "share");
      save(session, "app");
    }
    shelf::writeHistory(file, {.first = 3, .transactions = transactions});
    const auto store = file.open();
    ReadSession session(store);
    HistoryBounds bounds = notAuthored("app");
    EXPECT_EQ(historyOf(readHistory(session, bounds)), "1:1");
    bounds.afterStamp = -100;
    return costOf(*store, [&] { ASSERT_EQ(readHistory(session, bounds).transactions.size(), 0U); });
  };

  const int small = cost(100);
  EXPECT_LE(cost(100'000), small + 1);
  EXPECT_LT(small, 10);
}

TEST(HistoryReader, WalksBothTablesInTheirOwnOrder) {
  const StoreFile file;
  shelf::writeHistory(file, {.transactions = 20});
  const auto store = file.open();
  ReadSession session(store);
  HistoryBounds bounds = notAuthored(std::nullopt);
  bounds.afterStamp = 7;

  EXPECT_EQ(plansOf(*store, session, bounds),
            (Lines{"SCAN _transaction",  // for its last row
                   "SEARCH _mark USING PRIMARY KEY (name=?)",
                   "SEARCH _transaction USING INTEGER PRIMARY KEY (rowid>?)",
                   "SEARCH _transaction USING INTEGER PRIMARY KEY (rowid>? AND rowid<?)",
                   "SEARCH _name USING INTEGER PRIMARY KEY (rowid=?)",
                   "SEARCH _change USING PRIMARY KEY (transaction>? AND transaction<?)"}));
}

TEST(HistoryReader, StopsAtTheLimit) {
  const StoreFile file;
  shelf::writeHistory(file, {.transactions = 20});
  ReadSession session(file.open());
  const auto isEven = [](const auto& transaction, const auto& /*records*/) {
    return transaction.number % 2 == 0;
  };

  const HistoryRecords records = HistoryReader(session).transactionsAndChanges({}, 3, isEven);

  EXPECT_EQ(historyOf(records), "2:1 4:1 6:1");
}
