#include <unistd.h>

#include <algorithm>

#include "CoreData/Coordinator/StoreError.h"
#include "CoreData/History/HistoryError.h"
#include "Foundation/Internal/ManualClock.h"
#include "Foundation/Predicate/NSCompoundPredicate.h"
#include "Tests/CoreData/History/HistoryTest.h"
#include "Tests/Support/ErrorCode.h"

namespace {

using coredata::HistoryChanges;
using coredata::NSPersistentHistoryChange;
using coredata::NSPersistentHistoryChangeType;
using coredata::NSPersistentHistoryFetchRequest;
using coredata::NSPersistentHistoryResult;
using coredata::NSPersistentHistoryResultType;
using coredata::NSPersistentHistoryToken;
using foundation::Date;
using foundation::make;
using foundation::ManualClock;
using foundation::NSPredicate;
using foundation::Ref;
using garden::Bed;
using garden::numbersOf;
using garden::Plant;
using garden::transactionsOf;
using support::errorCode;
using support::number;
using Names = std::vector<std::string>;

class HistoryFetching : public garden::HistoryTest {
 protected:
  /// The numbers of those transactions of the whole history for which the predicate holds.
  [[nodiscard]] Numbers numbersWhere(NSPredicate predicate) {
    return numbersOf(historyWhere(std::move(predicate)));
  }
};

TEST_F(HistoryFetching, TellsWhoSavedAndWhen) {
  const ManualClock clock(1000.5);
  context->performBlockAndWait([&] { context->setName("editor"); });
  plant("app");

  const auto transactions = history();

  ASSERT_EQ(transactions.size(), 1U);
  const auto& transaction = *transactions.front();
  EXPECT_EQ(transaction.transactionNumber(), 1);
  EXPECT_EQ(transaction.timestamp(), Date::fromReference(1000.5));
  EXPECT_EQ(transaction.author(), "app");
  EXPECT_EQ(transaction.contextName(), "editor");
  EXPECT_EQ(transaction.storeID(),
            store.container().persistentStoreCoordinator()->store()->identifier());
  EXPECT_EQ(transaction.processID(), std::to_string(getpid()));
}

TEST_F(HistoryFetching, HasNoAuthorAndNoNameWhereTheContextHadNone) {
  plant();

  EXPECT_EQ(history().front()->author(), std::nullopt);
  EXPECT_EQ(history().front()->contextName(), std::nullopt);
}

TEST_F(HistoryFetching, TellsWhatWasChanged) {
  const Ref<Plant> changed = plant();
  context->performBlockAndWait([&] {
    changed->setLeaves(3);
    changed->setName("fern");
    context->save();
    context->delete_(changed);
    context->save();
  });

  const auto transactions = history();

  ASSERT_EQ(transactions.size(), 3U);
  std::vector<NSPersistentHistoryChangeType> types;
  for (const auto& transaction : transactions) {
    ASSERT_EQ(transaction->changes().size(), 1U);
    const NSPersistentHistoryChange change = transaction->changes()[0];
    EXPECT_EQ(change.changeID(), 1);
    EXPECT_EQ(change.changedObjectID()->entity().name(), "Plant");
    EXPECT_EQ(change.changedObjectID()->key(), 1);
    types.push_back(change.changeType());
  }
  EXPECT_EQ(types, (std::vector{NSPersistentHistoryChangeType::insert,
                                NSPersistentHistoryChangeType::update,
                                NSPersistentHistoryChangeType::delete_}));
  EXPECT_EQ(transactions[0]->changes()[0].updatedProperties(), Names{});
  EXPECT_EQ(transactions[1]->changes()[0].updatedProperties(), (Names{"leaves", "name"}));
  EXPECT_EQ(transactions[2]->changes()[0].updatedProperties(), Names{});
}

TEST_F(HistoryFetching, GivesTheIdentifiersThatTheContextsKnow) {
  const Ref<Plant> planted = plant();

  EXPECT_EQ(history().front()->changes()[0].changedObjectID(), planted->objectID());
}

TEST_F(HistoryFetching, IsStrictAboutAfter) {
  ManualClock clock(100);
  plant();
  clock.set(200);
  plant();

  const auto after = [&](double date) {
    return numbersOf(history(Request::fetchHistoryAfterDate(Date::fromReference(date))));
  };
  EXPECT_EQ(after(99.9), (Numbers{1, 2}));
  EXPECT_EQ(after(100), Numbers{2});
  EXPECT_EQ(after(199.9), Numbers{2});
  EXPECT_EQ(after(200), Numbers{});
  EXPECT_EQ(numbersOf(history(Request::fetchHistoryAfterDate(Date::distantPast()))),
            (Numbers{1, 2}));
  EXPECT_EQ(numbersOf(history(Request::fetchHistoryAfterDate(Date::distantFuture()))), Numbers{});
  EXPECT_EQ(after(std::numeric_limits<double>::quiet_NaN()), Numbers{});
}

TEST_F(HistoryFetching, FindsEachDateAmongMany) {
  ManualClock clock(0);
  for (int i = 0; i < 50; ++i) {
    clock.advance(1);
    plant();
  }

  for (int date = 0; date <= 50; ++date) {
    const auto found = history(Request::fetchHistoryAfterDate(Date::fromReference(date)));
    ASSERT_EQ(found.size(), static_cast<std::size_t>(50 - date)) << date;
    if (found.empty()) continue;
    EXPECT_EQ(found.front()->transactionNumber(), date + 1);
  }
}

TEST_F(HistoryFetching, StartsBehindAToken) {
  plant();
  plant();
  const auto all = history();

  EXPECT_EQ(numbersOf(history(Request::fetchHistoryAfterTransaction(all[0]))), Numbers{2});
  EXPECT_EQ(numbersOf(history(Request::fetchHistoryAfterToken(all[1]->token()))), Numbers{});
  EXPECT_TRUE(all[0]->token()->isEqual(NSPersistentHistoryToken(all[0]->storeID(), 1)));
  EXPECT_FALSE(all[0]->token()->isEqual(*all[1]->token()));
}

TEST_F(HistoryFetching, RefusesATokenOfAnotherStore) {
  const auto foreign = make<NSPersistentHistoryToken>("somewhere else", 1);

  EXPECT_EQ(errorCode([&] { (void)history(Request::fetchHistoryAfterToken(foreign)); }),
            number(coredata::HistoryErrorCode::foreignToken));
}

TEST_F(HistoryFetching, LeavesOutOneAuthorAndKeepsThoseWithout) {
  plant("app");
  plant();
  plant("share");
  plant("app");

  EXPECT_EQ(numbersWhere(NSPredicate::format("author != %@", "app")), (Numbers{2, 3}));
  EXPECT_EQ(numbersWhere(NSPredicate::format("author != %@", "nobody")), (Numbers{1, 2, 3, 4}));
  EXPECT_EQ(numbersWhere(NSPredicate::format("author != nil")), (Numbers{1, 3, 4}));
}

TEST_F(HistoryFetching, FindsOneAuthor) {
  plant("app");
  plant();
  plant("share");
  plant("app");

  EXPECT_EQ(numbersWhere(NSPredicate::format("author = %@", "app")), (Numbers{1, 4}));
  EXPECT_EQ(numbersWhere(NSPredicate::format("author = %@", "nobody")), Numbers{});
  EXPECT_EQ(numbersWhere(NSPredicate::format("author = nil")), Numbers{2});
}

TEST_F(HistoryFetching, GivesEachTransactionItsOwnChangesWhateverLiesBetween) {
  for (int i = 0; i < 40; ++i) plant(i % 7 == 0 || i % 11 < 2 ? "share" : "app");

  for (const auto& transaction : historyWhere(NSPredicate::format("author = %@", "share"))) {
    ASSERT_EQ(transaction->changes().size(), 1U);
    // One plant a save: its key is the transaction's number.
    EXPECT_EQ(transaction->changes()[0].changedObjectID()->key(), transaction->transactionNumber());
  }
}

TEST_F(HistoryFetching, TakesAnAlwaysTrueCompoundForNoCondition) {
  plant();

  EXPECT_EQ(numbersWhere(foundation::NSCompoundPredicate::andPredicate({})), Numbers{1});
}

TEST_F(HistoryFetching, GivesAtMostTheLimitOfTheOldest) {
  for (int i = 0; i < 6; ++i) plant(i % 2 == 0 ? "app" : "share");
  auto request = Request::fetchHistoryAfterToken(nullptr);
  NSPersistentHistoryFetchRequest which;
  which.setPredicate(NSPredicate::format("author = %@", "share"));
  which.setFetchLimit(2);
  request.setFetchRequest(which);

  EXPECT_EQ(numbersOf(history(request)), (Numbers{2, 4}));
}

TEST_F(HistoryFetching, RefusesAKeyThatATransactionDoesNotHave) {
  for (const char* format : {"colour = 'red'", "author.length > 3", "changes.@count > 0",
                             "SUBQUERY(changes, $c, $c.changeID > 1).@count > 0", "SELF = nil",
                             "timestamp > 1 AND NOT (mood = 'good')"}) {
    try {
      (void)historyWhere(NSPredicate::format(format));
      ADD_FAILURE() << format;
    } catch (const foundation::Error& error) {
      EXPECT_EQ(error.code(), number(coredata::HistoryErrorCode::unknownKey)) << format;
    }
  }
}

TEST_F(HistoryFetching, NamesTheKeyThatItRefuses) {
  try {
    (void)historyWhere(NSPredicate::format("colour = 'red'"));
    FAIL();
  } catch (const foundation::Error& error) {
    EXPECT_NE(error.message().find("\"colour\""), std::string::npos);
  }
}

TEST_F(HistoryFetching, GivesWhatTheResultTypeAsksFor) {
  plant();
  context->performBlockAndWait([&] {
    (void)make<Plant>(*context);
    (void)make<Bed>(*context);
    context->save();
  });
  const auto resultOf = [&](NSPersistentHistoryResultType type) {
    auto request = Request::fetchHistoryAfterToken(nullptr);
    request.setResultType(type);
    const auto result = context->performBlockAndWait([&] { return context->execute(request); });
    return dynamic_cast<const NSPersistentHistoryResult&>(*result).result();
  };

  EXPECT_TRUE(std::get<bool>(resultOf(NSPersistentHistoryResultType::statusOnly)));
  EXPECT_EQ(std::get<std::int64_t>(resultOf(NSPersistentHistoryResultType::count)), 2);
  const auto bare =
      std::get<garden::Transactions>(resultOf(NSPersistentHistoryResultType::transactionsOnly));
  EXPECT_EQ(numbersOf(bare), (Numbers{1, 2}));
  EXPECT_TRUE(bare[1]->changes().empty());
  EXPECT_EQ(std::get<HistoryChanges>(resultOf(NSPersistentHistoryResultType::changesOnly)).size(),
            3U);
  const auto full = std::get<garden::Transactions>(
      resultOf(NSPersistentHistoryResultType::transactionsAndChanges));
  EXPECT_EQ(full[1]->changes().size(), 2U);
}

TEST_F(HistoryFetching, ThrowsWithoutAStore) {
  const auto empty = make<coredata::NSPersistentContainer>("garden", garden::model());
  const auto other = empty->newBackgroundContext();

  EXPECT_EQ(errorCode([&] { transactionsOf(*other, Request::fetchHistoryAfterToken(nullptr)); }),
            number(coredata::CoordinatorErrorCode::noStore));
}

TEST_F(HistoryFetching, OutlivesItsStore) {
  plant("app");
  const auto transactions = history();
  const auto& coordinator = store.container().persistentStoreCoordinator();
  coordinator->removePersistentStore(coordinator->store());

  EXPECT_EQ(transactions.front()->author(), "app");
  EXPECT_EQ(transactions.front()->changes()[0].changedObjectID()->key(), 1);
}

TEST_F(HistoryFetching, SeesOneStateOfTheStoreInABlock) {
  plant();
  const auto other = store.opened()->newBackgroundContext();
  other->performBlockAndWait([&] {
    const auto request = Request::fetchHistoryAfterToken(nullptr);
    EXPECT_EQ(transactionsOf(*other, request).size(), 1U);
    plant();
    EXPECT_EQ(transactionsOf(*other, request).size(), 1U);
  });
}

}  // namespace
