#include "CoreData/SQLite/HistoryWriter.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "CoreData/SQLite/StoreCore.h"
#include "CoreData/SQLite/StoreMarks.h"
#include "Foundation/Internal/ManualClock.h"
#include "Tests/CoreData/SQLite/StoreFixture.h"

namespace {
using coredata::CommitResult;
using coredata::HistoryAuthor;
using coredata::HistoryPosition;
using coredata::ObjectKey;
using coredata::ReadSession;
using coredata::Row;
using coredata::SlotMask;
using coredata::WriteTransaction;
using foundation::Date;
using foundation::ManualClock;
using foundation::Ref;
using shelf::StoreFile;
using Lines = std::vector<std::string>;

CommitResult saveBook(ReadSession& session, const HistoryAuthor& author = {}) {
  WriteTransaction transaction(session);
  Ref<Row> row = shelf::book(*session.store(), "Emma");
  row->setKey(transaction.reserveKeys(row->entity(), 1));
  transaction.insert(*row);
  return transaction.commit(author);
}

double seconds(const CommitResult& result) {
  return result.timestamp.timeIntervalSinceReferenceDate();
}
}  // namespace

TEST(HistoryWriter, RecordsWhoChangedWhat) {
  const StoreFile file;
  ReadSession session(file.open());
  const ManualClock clock(1000);
  const auto& store = *session.store();
  saveBook(session, {"app", "main"});
  ASSERT_TRUE(shelf::setTitle(session, 1, "Persuasion"));
  ASSERT_TRUE(shelf::removeBook(session, 1));

  EXPECT_EQ(
      shelf::query(file.path(),
                   "SELECT number, timestamp, a.text, c.text, b.text, process FROM _transaction "
                   "LEFT JOIN _name a ON a.id=author LEFT JOIN _name c ON c.id=contextName "
                   "LEFT JOIN _name b ON b.id=bundle WHERE number=1"),
      Lines{"1|1000.0|app|main|test.shelf|" + std::to_string(getpid())});
  const std::string mask = std::to_string(SlotMask{1} << shelf::slot(store, "title"));
  EXPECT_EQ(shelf::query(file.path(),
                         "SELECT \"transaction\", sequence, text, key, kind, changed FROM _change "
                         "JOIN _name ON id=entity ORDER BY 1, 2"),
            (Lines{"1|1|Book|1|0|", "2|1|Book|1|1|" + mask, "3|1|Book|1|2|"}));
}

TEST(HistoryWriter, LeavesOutTheNamesThatAreAbsent) {
  const StoreFile file;
  ReadSession session(file.open());
  saveBook(session);

  EXPECT_EQ(
      shelf::query(file.path(), "SELECT author IS NULL, contextName IS NULL FROM _transaction"),
      Lines{"1|1"});
}

TEST(HistoryWriter, KeepsEachNameOnce) {
  const StoreFile file;
  {
    ReadSession session(file.open());
    for (int i = 0; i < 3; ++i) saveBook(session, {"app", "app"});
  }
  ReadSession session(file.open());
  saveBook(session, {"app", std::nullopt});

  EXPECT_EQ(shelf::query(file.path(), "SELECT text FROM _name ORDER BY text"),
            (Lines{"Book", "app", "test.shelf"}));
}

TEST(HistoryWriter, ForgetsANameWhoseTransactionWasUndone) {
  const StoreFile file;
  ReadSession session(file.open());
  const auto& entity = shelf::entity(*session.store(), "Book");
  {
    WriteTransaction transaction(session);
    auto& history = transaction.core().history();
    history.write(
        transaction.connection(), {1, Date::fromReference(1)}, {"ghost", {}, {}},
        std::vector<coredata::RowChange>{{&entity, 1, coredata::RowChangeKind::remove, 0, {}}});
  }

  saveBook(session, {"ghost", std::nullopt});

  EXPECT_EQ(shelf::query(file.path(), "SELECT text FROM _transaction JOIN _name ON id=author"),
            Lines{"ghost"});
}

TEST(HistoryWriter, RecordsNothingWithoutTracking) {
  const StoreFile file;
  coredata::StoreOptions options = file.options();
  options.historyTracking = false;
  ReadSession session(file.open(options));

  const CommitResult result = saveBook(session);

  EXPECT_TRUE(result.wroteChanges);
  EXPECT_EQ(result.transactionNumber, 0);
  EXPECT_EQ(shelf::query(file.path(), "SELECT count(*) FROM _transaction"), Lines{"0"});
}

TEST(HistoryWriter, RecordsNothingForATransactionWithoutChanges) {
  const StoreFile file;
  ReadSession session(file.open());
  WriteTransaction transaction(session);

  EXPECT_FALSE(transaction.commit({}).wroteChanges);
  EXPECT_EQ(session.newestTransaction().number, 0);
}

TEST(HistoryWriter, StampsRiseWhenTheClockStandsStillOrStepsBack) {
  const StoreFile file;
  ReadSession session(file.open());
  ManualClock clock(5000);

  const double first = seconds(saveBook(session));
  const double second = seconds(saveBook(session));
  clock.advance(-3600);
  const double third = seconds(saveBook(session));
  clock.set(6000);
  const double fourth = seconds(saveBook(session));

  EXPECT_EQ(first, 5000);
  EXPECT_GE(second, first + 1e-6);
  EXPECT_GE(third, second + 1e-6);
  EXPECT_EQ(fourth, 6000);
}

TEST(HistoryWriter, StampsRiseFarFromTheReferenceDateToo) {
  const Date far = Date::fromReference(1e17);

  EXPECT_GT(coredata::nextTimestamp(far), far);
}

TEST(HistoryWriter, StampsRiseAcrossStoresAndOpenings) {
  const StoreFile file;
  ManualClock clock(5000);
  std::vector<CommitResult> results;
  {
    ReadSession one(file.open());
    ReadSession other(file.open());
    results = {saveBook(one), saveBook(other), saveBook(one), saveBook(one), saveBook(other)};
  }
  clock.set(10);
  ReadSession again(file.open());
  results.push_back(saveBook(again));

  for (std::size_t i = 0; i < results.size(); ++i) {
    EXPECT_EQ(results[i].transactionNumber, static_cast<std::int64_t>(i) + 1);
    if (i > 0) {
      EXPECT_GT(seconds(results[i]), seconds(results[i - 1]));
    }
  }
}

TEST(HistoryWriter, GoesOnFromTheMarksWhenTheHistoryWasCut) {
  const StoreFile file;
  ManualClock clock(5000);
  {
    ReadSession session(file.open());
    saveBook(session);
    saveBook(session);
    WriteTransaction transaction(session);
    raiseHistoryMarks(transaction.connection(), newestTransactionIn(transaction.connection()));
    transaction.connection().execute("DELETE FROM _change; DELETE FROM _transaction");
    transaction.noteOtherChange();
    transaction.commit({});
  }
  clock.set(10);

  ReadSession session(file.open());
  EXPECT_EQ(session.newestTransaction().number, 2);
  const CommitResult result = saveBook(session);

  EXPECT_EQ(result.transactionNumber, 3);
  EXPECT_GT(seconds(result), 5000);
}

TEST(HistoryWriter, NeverLowersAMark) {
  const StoreFile file;
  ReadSession session(file.open());
  {
    WriteTransaction transaction(session);
    raiseHistoryMarks(transaction.connection(), {9, Date::fromReference(90.5)});
    raiseHistoryMarks(transaction.connection(), {3, Date::fromReference(30.5)});
    transaction.noteOtherChange();
    transaction.commit({});
  }

  EXPECT_EQ(session.newestTransaction(), (HistoryPosition{9, Date::fromReference(90.5)}));
}
