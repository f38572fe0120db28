#include "CoreData/History/HistoryPredicate.h"

#include <iostream>
#include <random>

#include "Foundation/Internal/ManualClock.h"
#include "Foundation/Predicate/NSCompoundPredicate.h"
#include "Tests/CoreData/History/HistoryTest.h"
#include "Tests/Support/EnvironmentSetting.h"

namespace {

using foundation::Date;
using foundation::NSCompoundPredicate;
using foundation::NSPredicate;
using foundation::Value;
using garden::numbersOf;

/// Predicates on transactions, deeper and shallower, with values that transactions have and such as
/// they do not.
class RandomConditions {
 public:
  explicit RandomConditions(std::mt19937_64& random) : random_(random) {}

  NSPredicate next(int depth = 3) {
    if (depth == 0 || oneIn(3)) return comparison();
    if (oneIn(4)) return NSCompoundPredicate::notPredicate(next(depth - 1));
    std::vector<NSPredicate> parts;
    for (std::size_t i = below(3) + 1; i > 0; --i) parts.push_back(next(depth - 1));
    return oneIn(3) ? NSCompoundPredicate::orPredicate(parts)
                    : NSCompoundPredicate::andPredicate(parts);
  }

  std::optional<std::string> author() {
    static const std::vector<std::optional<std::string>> kAuthors = {"app", "share", "", "cloud",
                                                                     std::nullopt};
    return kAuthors[below(kAuthors.size())];
  }
  std::size_t below(std::size_t end) { return random_() % end; }
  bool oneIn(std::size_t count) { return below(count) == 0; }

 private:
  NSPredicate comparison() {
    static const std::vector<std::string> kOperators = {"=", "!=", "<", "<=", ">", ">="};
    static const std::vector<std::string> kTextOperators = {"=", "!=", "BEGINSWITH", "LIKE",
                                                            "=[c]"};
    const std::string sign = " " + kOperators[below(kOperators.size())] + " %@";
    const std::string textSign = " " + kTextOperators[below(kTextOperators.size())] + " %@";
    switch (below(9)) {
      case 0:
        return NSPredicate::format("timestamp" + sign, stamp());
      case 1:
        return NSPredicate::format("transactionNumber" + sign, number());
      case 2:
        return NSPredicate::format("timestamp BETWEEN {%@, %@}", stamp(), stamp());
      case 3:
        return NSPredicate::format("transactionNumber IN %@",
                                   std::vector<Value>{number(), number(), number()});
      case 4:
        return NSPredicate::format("contextName" + textSign, author().value_or("app"));
      case 5:
        return NSPredicate::format("processID" + textSign, author().value_or("1"));
      case 6:
        return oneIn(2) ? NSPredicate::format("author" + sign, Value())
                        : NSPredicate::format("%@ = author", author().value_or("app"));
      default:
        return NSPredicate::format("author" + textSign, author().value_or("nobody"));
    }
  }
  /// On a stamp of the history, or beside one.
  Value stamp() { return Value(Date::fromReference(static_cast<double>(below(70)) / 2 - 2)); }
  Value number() {
    if (oneIn(4)) return Value(static_cast<double>(below(70)) / 2 - 2);
    return Value(static_cast<std::int64_t>(below(35)) - 2);
  }

  std::mt19937_64& random_;
};

class HistoryPredicateTest : public garden::HistoryTest {};

TEST_F(HistoryPredicateTest, HoldsForThoseForWhichItHoldsInMemory) {
  const std::uint64_t seed = support::numberFrom("HISTORY_TEST_SEED", support::runSeed(20241122));
  const std::uint64_t count = support::numberFrom("HISTORY_TEST_PREDICATES", 2000);
  std::cout << "HISTORY_TEST_SEED=" << seed << " HISTORY_TEST_PREDICATES=" << count << '\n';
  std::mt19937_64 random(seed);
  RandomConditions conditions(random);
  foundation::ManualClock clock(0);
  for (int i = 0; i < 30; ++i) {
    clock.advance(1);
    context->performBlockAndWait([&] { context->setName(conditions.author()); });
    plant(conditions.author());
  }
  const garden::Transactions all = history();

  std::size_t some = 0;
  for (std::uint64_t i = 0; i < count; ++i) {
    const NSPredicate predicate = conditions.next();
    Numbers expected;
    for (const auto& transaction : all) {
      if (predicate.evaluate(*transaction)) expected.push_back(transaction->transactionNumber());
    }
    ASSERT_EQ(numbersOf(historyWhere(predicate)), expected) << predicate.description();
    if (!expected.empty() && expected.size() < all.size()) ++some;
  }
  EXPECT_GT(some, count / 4) << "too many predicates hold for all or none";
}

TEST_F(HistoryPredicateTest, AsksForEachPropertyByItsName) {
  context->performBlockAndWait([&] { context->setName("editor"); });
  plant("app");
  const auto transaction = history().front();

  for (const char* key : {"author", "bundleID", "contextName", "processID", "storeID", "timestamp",
                          "transactionNumber"}) {
    const Value value = transaction->valueForKey(key);
    EXPECT_EQ(historyWhere(NSPredicate::format("%K = %@", std::string(key), value)).size(), 1U)
        << key;
    EXPECT_EQ(historyWhere(NSPredicate::format("%K != %@", std::string(key), value)).size(), 0U)
        << key;
  }
}

/// The bounds that a condition leaves.
coredata::HistoryBounds narrowed(const NSPredicate& predicate) {
  coredata::HistoryBounds bounds;
  static_cast<void>(coredata::HistoryPredicate(predicate, "").narrow(bounds));
  return bounds;
}

/// Whether they say all that the condition says.
bool isAnsweredByBounds(const NSPredicate& predicate) {
  coredata::HistoryBounds bounds;
  return coredata::HistoryPredicate(predicate, "").narrow(bounds);
}

TEST(HistoryPredicateBounds, SayAllThatAConditionOnTheAuthorAloneSays) {
  EXPECT_TRUE(isAnsweredByBounds(NSPredicate::format("author = 'app'")));
  EXPECT_TRUE(isAnsweredByBounds(NSPredicate::format("author != 'app'")));
  EXPECT_TRUE(isAnsweredByBounds(NSPredicate::format("author = nil")));
}

TEST(HistoryPredicateBounds, DoNotSayAllThatAnyOtherConditionSays) {
  for (const char* condition :
       {"author ==[c] 'app'", "author > 'app'", "author = 5", "author = contextName",
        "author BEGINSWITH 'app'", "contextName = 'app'", "transactionNumber > 5",
        "NOT author = 'app'", "author = 'app' OR author = 'share'",
        "author = 'app' AND author != 'app'", "author = 'app' AND author = 'share'"}) {
    EXPECT_FALSE(isAnsweredByBounds(NSPredicate::format(condition))) << condition;
  }
}

TEST(HistoryPredicateBounds, AreNarrowedByNumbers) {
  const auto bounds =
      narrowed(NSPredicate::format("transactionNumber > 5 AND transactionNumber <= %ld", 9));
  EXPECT_EQ(bounds.afterNumber, 4);
  EXPECT_EQ(bounds.lastNumber, 9);
}

TEST(HistoryPredicateBounds, AreNarrowedByStamps) {
  const auto bounds = narrowed(NSPredicate::format("timestamp >= %@ AND timestamp < %@",
                                                   Date::fromReference(5), Date::fromReference(9)));
  EXPECT_LT(bounds.afterStamp, 5);
  EXPECT_GT(bounds.afterStamp, 4.999);
  EXPECT_EQ(bounds.lastStamp, 9);
}

TEST(HistoryPredicateBounds, AreNarrowedByAnAuthorWhoIsWantedRatherThanOneWhoIsNot) {
  const auto bounds = narrowed(NSPredicate::format("author != 'app' AND author = 'share'"));
  ASSERT_TRUE(bounds.author);
  EXPECT_TRUE(bounds.author->isWanted);
  EXPECT_EQ(bounds.author->name, "share");
}

TEST(HistoryPredicateBounds, AreLeftAloneByAlternatives) {
  const auto bounds = narrowed(NSPredicate::format("author = 'app' OR transactionNumber > 5"));
  EXPECT_FALSE(bounds.author);
  EXPECT_EQ(bounds.afterNumber, 0);
}

}  // namespace
