#include "CoreDataStack/History/PersistentHistoryFetcher.h"

#include "CoreData/History/NSPersistentHistoryResult.h"
#include "Tests/CoreDataStack/History/HistoryPlace.h"

namespace {

using coredata::NSPersistentHistoryResult;
using coredatastack::PersistentHistoryFetcher;
using foundation::Date;

/// A result that has nothing to do with the history.
class OtherResult final : public coredata::NSPersistentStoreResult {};

class PersistentHistoryFetching : public support::HistoryPlace {
 protected:
  [[nodiscard]] PersistentHistoryFetcher::Transactions fetch(Date from = Date::distantPast()) {
    const auto context = store_.newBackgroundContext();
    return context->performBlockAndWait(
        [&] { return PersistentHistoryFetcher(context, store_.contextHandle(), from).fetch(); });
  }
  /// Who wrote what is fetched, "-" for nobody.
  [[nodiscard]] std::vector<std::string> authors() {
    std::vector<std::string> result;
    for (const auto& transaction : fetch()) result.push_back(transaction->author().value_or("-"));
    return result;
  }
};

using Texts = std::vector<std::string>;

TEST_F(PersistentHistoryFetching, LeavesOutWhatTheMainContextWrote) {
  writeElsewhere("one");
  writeHere("two");
  writeElsewhere("three", std::nullopt);

  EXPECT_EQ(authors(), (Texts{"extension", "-"}));
}

TEST_F(PersistentHistoryFetching, LeavesOutWhatBearsTheMainContextsName) {
  store_.context().setName("main");
  writeElsewhere("one", "extension", "main");
  writeElsewhere("two", "extension", "other");
  writeElsewhere("three", "extension");

  EXPECT_EQ(fetch().size(), 2U);
}

TEST_F(PersistentHistoryFetching, LeavesOutNothingForAContextWithoutAuthorAndName) {
  writeHere("one");
  store_.context().setTransactionAuthor(std::nullopt);

  EXPECT_EQ(authors(), Texts{"app"});
}

TEST_F(PersistentHistoryFetching, BeginsStrictlyAfterItsDate) {
  writeElsewhere("one");
  writeElsewhere("two");
  const auto both = fetch();
  ASSERT_EQ(both.size(), 2U);

  EXPECT_EQ(fetch(both[0]->timestamp()).size(), 1U);
  EXPECT_TRUE(fetch(both[1]->timestamp()).empty());
}

TEST_F(PersistentHistoryFetching, ThrowsWhatTheStoreThrows) {
  const auto container = support::containerWithoutStore();
  const auto context = container->newBackgroundContext();

  context->performBlockAndWait([&] {
    const PersistentHistoryFetcher fetcher(context, container->viewContext(), Date::distantPast());
    try {
      static_cast<void>(fetcher.fetch());
      FAIL() << "fetched from no store";
    } catch (const PersistentHistoryFetcher::Error& error) {
      FAIL() << error.description();
    } catch (const foundation::Error& error) {
      EXPECT_EQ(error.domain(), foundation::kCocoaErrorDomain);
    }
  });
}

TEST_F(PersistentHistoryFetching, RefusesAResultThatListsNoTransactions) {
  const auto expected =
      PersistentHistoryFetcher::Error::historyTransactionConvertionFailed().description();
  const auto errorOf = [](const foundation::Ref<coredata::NSPersistentStoreResult>& result) {
    try {
      static_cast<void>(PersistentHistoryFetcher::transactions(result));
    } catch (const foundation::Error& error) {
      return error.description();
    }
    return std::string("nothing was thrown");
  };

  EXPECT_EQ(expected, "PersistentHistoryFetcher.Error.historyTransactionConvertionFailed");
  EXPECT_EQ(errorOf(nullptr), expected);
  EXPECT_EQ(errorOf(foundation::make<OtherResult>()), expected);
  EXPECT_EQ(errorOf(foundation::make<NSPersistentHistoryResult>(
                coredata::NSPersistentHistoryResultType::statusOnly, true)),
            expected);
}

}  // namespace
