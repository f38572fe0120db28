#include "Foundation/Internal/ManualClock.h"
#include "Tests/CoreData/History/HistoryTest.h"
#include "Tests/CoreData/SQLite/StoreFixture.h"

namespace {

using coredata::HistoryPosition;
using coredata::NSPersistentHistoryResultType;
using foundation::Date;
using foundation::ManualClock;
using garden::numbersOf;
using garden::Plant;
using Lines = std::vector<std::string>;

class HistoryDeleting : public garden::HistoryTest {
 protected:
  /// Deletes in the context's turn.
  void run(const Request& request) {
    (void)context->performBlockAndWait([&] { return context->execute(request); });
  }
  [[nodiscard]] HistoryPosition newest() const {
    return store.container().persistentStoreCoordinator()->store()->engine()->newestTransaction();
  }
  [[nodiscard]] Lines query(const std::string& sql) const {
    return shelf::query((store.directory() / "garden.sqlite").string(), sql);
  }
};

TEST_F(HistoryDeleting, IsStrictAboutBefore) {
  ManualClock clock(0);
  for (int i = 1; i <= 3; ++i) {
    clock.set(100 * i);
    plant();
  }

  run(Request::deleteHistoryBeforeDate(Date::fromReference(100)));
  EXPECT_EQ(numbersOf(history()), (Numbers{1, 2, 3}));
  run(Request::deleteHistoryBeforeDate(Date::fromReference(200)));
  EXPECT_EQ(numbersOf(history()), (Numbers{2, 3}));
  run(Request::deleteHistoryBeforeDate(Date::fromReference(200.5)));
  EXPECT_EQ(numbersOf(history()), Numbers{3});
}

TEST_F(HistoryDeleting, KeepsTheTransactionThatATokenNames) {
  for (int i = 0; i < 4; ++i) plant();

  run(Request::deleteHistoryBeforeTransaction(history()[2]));
  EXPECT_EQ(numbersOf(history()), (Numbers{3, 4}));
  run(Request::deleteHistoryBeforeToken(nullptr));
  EXPECT_EQ(numbersOf(history()), (Numbers{3, 4}));
}

TEST_F(HistoryDeleting, TakesChangesAlongAndLeavesObjectsAndNames) {
  plant("app");
  plant("share");

  run(Request::deleteHistoryBeforeDate(Date::distantFuture()));

  EXPECT_EQ(query("SELECT count(*) FROM _transaction"), Lines{"0"});
  EXPECT_EQ(query("SELECT count(*) FROM _change"), Lines{"0"});
  EXPECT_EQ(query("SELECT text FROM _name WHERE text IN ('app', 'share') ORDER BY text"),
            (Lines{"app", "share"}));
  EXPECT_EQ(stored<Plant>(), 2U);
}

TEST_F(HistoryDeleting, SaysHowManyWhenAsked) {
  for (int i = 0; i < 3; ++i) plant();

  EXPECT_EQ(countOf(Request::deleteHistoryBeforeDate(history()[2]->timestamp())), 2);
  EXPECT_EQ(countOf(Request::deleteHistoryBeforeDate(Date::distantPast())), 0);
}

TEST_F(HistoryDeleting, LetsNumbersAndStampsGoOn) {
  ManualClock clock(1000);
  for (int i = 0; i < 3; ++i) plant();
  const HistoryPosition before = newest();
  clock.set(500);

  run(Request::deleteHistoryBeforeDate(Date::distantFuture()));
  EXPECT_EQ(newest(), before);
  plant();
  store.reopen();
  EXPECT_EQ(newest().number, 4);
  EXPECT_GT(newest().timestamp, before.timestamp);
}

TEST_F(HistoryDeleting, FindsTheOthersAfterEverythingWasDeleted) {
  plant("share");
  plant("app");
  run(Request::deleteHistoryBeforeDate(Date::distantFuture()));
  plant("app");
  plant("share");
  plant("app");

  const auto others = historyWhere(foundation::NSPredicate::format("author != %@", "app"));

  EXPECT_EQ(numbersOf(others), Numbers{4});
}

TEST_F(HistoryDeleting, TakesMoreThanOneTransactionsWorth) {
  constexpr int kPlants = 50'000;
  context->performBlockAndWait([&] {
    for (int i = 0; i < kPlants; ++i) (void)foundation::make<Plant>(*context);
    context->save();
  });
  plant();

  EXPECT_EQ(countOf(Request::deleteHistoryBeforeTransaction(history()[1])), 1);

  EXPECT_EQ(numbersOf(history()), Numbers{2});
  EXPECT_EQ(query("SELECT count(*) FROM _change"), Lines{"1"});
}

}  // namespace
