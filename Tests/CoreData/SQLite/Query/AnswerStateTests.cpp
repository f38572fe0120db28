#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "CoreData/SQLite/Connection.h"
#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/StoreCore.h"
#include "CoreData/SQLite/WriteTransaction.h"
#include "Tests/CoreData/SQLite/Query/HabitStore.h"
#include "Tests/Support/ErrorCode.h"

namespace {

using coredata::ObjectKey;
using coredata::ReadSession;
using foundation::NSPredicate;
using testing::ElementsAre;

constexpr std::string_view kBegin = "PRAGMA data_version";

/// Hears what a connection begins to run.
class Listener {
 public:
  using Heard = std::function<void(std::string_view)>;

  Listener(sqlite3* connection, Heard heard) : connection_(connection), heard_(std::move(heard)) {
    sqlite3_trace_v2(
        connection_, SQLITE_TRACE_STMT,
        [](unsigned, void* self, void* statement, void*) {
          static_cast<Listener*>(self)->heard_(sqlite3_sql(static_cast<sqlite3_stmt*>(statement)));
          return 0;
        },
        this);
  }
  ~Listener() { sqlite3_trace_v2(connection_, 0, nullptr, nullptr); }
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

 private:
  sqlite3* connection_;
  Heard heard_;
};

/// Three activities called "Run", and check-ins of the first.
class AnswerState : public testing::Test {
 protected:
  habits::Store store_;
  const habits::Fetch runs_ =
      habits::fetch("Activity", NSPredicate::format("title = %@", "Run"), {{"createdDate", true}});
  const habits::Fetch swims_ = habits::fetch("Activity", NSPredicate::format("title = %@", "Swim"));

  /// In the order that an index gives.
  const habits::Fetch days_ =
      habits::fetch("Checkin", NSPredicate::format("activity = %@", habits::object("Activity", 1)),
                    {{"date", true}});

  void SetUp() override {
    for (ObjectKey key = 1; key <= 3; ++key) addRun(key);
    addCheckin(1, "2024-02-10");
    addCheckin(2, "2024-02-12");
  }
  void TearDown() override { store_.session().end(); }

  void addRun(ObjectKey key) {
    ReadSession writer(store_.session().store());
    habits::insert(writer, {habits::row("Activity", key, {{"title", "Run"}, {"status", 0}})});
  }
  void addCheckin(ObjectKey key, const char* date) {
    ReadSession writer(store_.session().store());
    habits::insert(writer, {habits::row("Checkin", key, {{"activity", 1}, {"date", date}})});
  }
  std::int64_t count(const habits::Fetch& fetch, std::size_t limit = 0) {
    return store_.runner().count(*fetch.plan, fetch.arguments(), limit);
  }
  std::vector<ObjectKey> keys(const habits::Fetch& fetch, std::size_t limit = 0) {
    std::vector<ObjectKey> keys;
    for (const auto& row : store_.runner().rows(*fetch.plan, fetch.arguments(), limit)) {
      keys.push_back(row->key());
    }
    return keys;
  }
  sqlite3* connection() { return store_.session().store()->core().lease()->handle(); }
};

TEST_F(AnswerState, IsTheOneThatTheWholeBlockSees) {
  store_.session().begin();
  EXPECT_EQ(count(runs_), 3);
  addRun(4);
  store_.execute("UPDATE Activity SET title = 'Swim', _version = 2 WHERE _id = 1");

  EXPECT_THAT(keys(runs_), ElementsAre(1, 2, 3));
  EXPECT_EQ(count(runs_), 3);
  EXPECT_EQ(count(swims_), 0);
  EXPECT_EQ(count(swims_, 1), 0);
  EXPECT_EQ(count(runs_, 1), 1);
  store_.session().end();

  EXPECT_THAT(keys(runs_), ElementsAre(2, 3, 4));
  EXPECT_EQ(count(swims_, 1), 1);
}

TEST_F(AnswerState, StaysWhenTheSameIsAskedAgain) {
  store_.session().begin();
  for (ObjectKey key = 4; key <= 9; ++key) {
    EXPECT_EQ(count(runs_), 3);
    addRun(key);
  }
  store_.session().end();

  EXPECT_EQ(count(runs_), 9);
}

TEST_F(AnswerState, IsKeptByTheFirstOneInAnIndexsOrder) {
  store_.session().begin();
  EXPECT_THAT(keys(days_, 1), ElementsAre(1));
  addCheckin(3, "2024-02-08");

  EXPECT_THAT(keys(days_, 1), ElementsAre(1));
  EXPECT_EQ(count(days_), 2);
  store_.session().end();

  EXPECT_THAT(keys(days_, 1), ElementsAre(3));
}

TEST_F(AnswerState, IsKeptByTheFirstOneWhereThereIsNoOther) {
  store_.execute("DELETE FROM Checkin WHERE _id = 2");
  store_.session().begin();
  EXPECT_THAT(keys(days_, 1), ElementsAre(1));
  addCheckin(3, "2024-02-08");

  EXPECT_THAT(keys(days_, 1), ElementsAre(1));
  EXPECT_EQ(count(days_), 1);
}

TEST_F(AnswerState, IsKnownInATransactionThatHasReadNothing) {
  const auto lease = store_.session().store()->core().lease();
  lease->begin();
  const std::int64_t before = lease->dataVersion();
  lease->rollBack();
  store_.execute("UPDATE Activity SET status = 5");

  lease->begin();
  EXPECT_NE(lease->dataVersion(), before);
  lease->rollBack();
}

TEST_F(AnswerState, IsKeptWhereNothingWasFound) {
  store_.session().begin();
  EXPECT_EQ(count(swims_, 1), 0);
  store_.execute("UPDATE Activity SET title = 'Swim'");

  EXPECT_EQ(count(swims_), 0);
  EXPECT_THAT(keys(runs_), ElementsAre(1, 2, 3));
}

TEST_F(AnswerState, IsTheNewerOneWhereTheStoreChangesBeforeItIsKept) {
  bool changed = false;
  const Listener listener(connection(), [&](std::string_view sql) {
    if (sql != kBegin || std::exchange(changed, true)) return;
    store_.execute("UPDATE Activity SET title = 'Swim' WHERE _id = 1");
  });

  store_.session().begin();
  EXPECT_EQ(count(swims_, 1), 1);
  EXPECT_TRUE(changed);
  EXPECT_THAT(keys(runs_), ElementsAre(2, 3));
  EXPECT_THAT(keys(swims_), ElementsAre(1));
}

TEST_F(AnswerState, TakesNoRowsFromTheCacheThatAreNewer) {
  const auto& activity = habits::entity("Activity");
  const auto slot = activity.property("title")->slot();
  store_.session().begin();
  EXPECT_EQ(count(runs_), 3);
  {
    ReadSession other(store_.session().store());
    coredata::WriteTransaction transaction(other);
    auto row = transaction.row(activity, 1)->copy();
    coredata::Row::setText(row, slot, "Swim");
    row->setVersion(2);
    ASSERT_TRUE(transaction.update(*row, coredata::SlotMask{1} << slot, 1));
    transaction.commit({});
    EXPECT_EQ(other.row(activity, 1)->text(slot), "Swim");
  }

  EXPECT_EQ(store_.session().row(activity, 1)->text(slot), "Run");
  store_.session().end();
  EXPECT_EQ(store_.session().row(activity, 1)->text(slot), "Swim");
}

TEST_F(AnswerState, NeedsNoStatementOfItsOwn) {
  EXPECT_EQ(count(runs_), 3);
  EXPECT_EQ(count(runs_, 1), 1);
  std::vector<std::string> heard;
  const Listener listener(connection(), [&](std::string_view sql) { heard.emplace_back(sql); });

  EXPECT_EQ(count(runs_), 3);
  store_.session().begin();
  EXPECT_EQ(count(runs_, 1), 1);
  EXPECT_EQ(count(runs_), 3);
  store_.session().end();

  EXPECT_EQ(heard.size(), 3U);
  EXPECT_THAT(heard, testing::Not(testing::Contains(std::string(kBegin))));
}

TEST_F(AnswerState, IsNotKeptForAListByItself) {
  EXPECT_THAT(keys(runs_), ElementsAre(1, 2, 3));
  EXPECT_THAT(keys(swims_), ElementsAre());
  std::vector<std::string> heard;
  const Listener listener(connection(), [&](std::string_view sql) { heard.emplace_back(sql); });

  EXPECT_THAT(keys(runs_), ElementsAre(1, 2, 3));
  EXPECT_THAT(keys(swims_), ElementsAre());
  EXPECT_EQ(heard.size(), 2U);
  EXPECT_THAT(heard, testing::Not(testing::Contains(std::string(kBegin))));
  store_.session().begin();
  EXPECT_THAT(keys(runs_), ElementsAre(1, 2, 3));
  EXPECT_THAT(heard, testing::Contains(std::string(kBegin)));
}

TEST_F(AnswerState, OfAListByItselfTellsOfOthersCommits) {
  const auto& activity = habits::entity("Activity");
  const auto slot = activity.property("title")->slot();
  EXPECT_EQ(store_.session().row(activity, 1)->text(slot), "Run");
  store_.execute("UPDATE Activity SET title = 'Swim', _version = 2 WHERE _id = 1");

  EXPECT_THAT(keys(days_), ElementsAre(1, 2));

  EXPECT_EQ(store_.session().row(activity, 1)->text(slot), "Swim");
}

TEST_F(AnswerState, LetsTheBlockSave) {
  store_.session().begin();
  EXPECT_EQ(count(runs_), 3);
  store_.insert("Activity", 4, {{"title", "Run"}, {"status", 0}});

  EXPECT_EQ(count(runs_), 4);
  EXPECT_THAT(keys(runs_), ElementsAre(1, 2, 3, 4));
}

TEST_F(AnswerState, OfAnotherStoresContentIsRefused) {
  for (const bool isInBlock : {false, true}) {
    for (const bool isList : {false, true}) {
      habits::Store other;
      coredata::QueryRunner runner = other.runner();
      const auto ask = [&] {
        if (isList) return runner.rows(*swims_.plan, swims_.arguments()).empty();
        return runner.count(*swims_.plan, swims_.arguments()) == 0;
      };
      EXPECT_TRUE(ask());
      other.execute("DROP TABLE Activity");
      if (isInBlock) other.session().begin();

      EXPECT_EQ(support::errorCode([&] { static_cast<void>(ask()); }),
                static_cast<std::int64_t>(coredata::StoreErrorCode::replaced));
    }
  }
}

TEST_F(AnswerState, IsTheSameToAConnectionUntilOthersCommit) {
  const auto lease = store_.session().store()->core().lease();
  const auto number = [&] {
    lease->beginReading();
    const std::int64_t seen = lease->dataVersion();
    EXPECT_EQ(lease->lastDataVersion(), seen);
    lease->rollBack();
    EXPECT_EQ(lease->lastDataVersion(), seen);
    EXPECT_EQ(lease->dataVersion(), seen);
    return seen;
  };
  const std::int64_t before = number();

  lease->beginWriting();
  lease->execute("UPDATE Activity SET status = 1");
  lease->commit();
  EXPECT_EQ(number(), before);
  lease->beginWriting();
  lease->execute("UPDATE Activity SET status = 2");
  lease->rollBack();
  EXPECT_EQ(number(), before);
  lease->commitUnchanged();
  EXPECT_EQ(number(), before);
  store_.execute("UPDATE Activity SET status = 3");
  EXPECT_NE(number(), before);
}

}  // namespace
