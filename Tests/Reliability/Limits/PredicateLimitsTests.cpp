#include <optional>

#include "Foundation/Predicate/NSCompoundPredicate.h"
#include "Tests/Support/GardenTest.h"

namespace {

using foundation::make;
using foundation::NSCompoundPredicate;
using foundation::NSPredicate;
using garden::Plant;

constexpr int kTerms = 10'000;

class PredicateLimits : public garden::Test {
 protected:
  /// Plants with so many seeds: one that the long predicates name last, and one that none names.
  PredicateLimits() {
    context->performBlockAndWait([&] {
      for (const int seeds : {0, kTerms - 1, kTerms}) make<Plant>(*context)->setSeeds(seeds);
      context->save();
    });
  }
  /// How many plants the store finds, with an unsaved one of 1 seed that is found in memory; none
  /// when it refuses the predicate.
  [[nodiscard]] std::optional<std::int64_t> found(const NSPredicate& predicate) const {
    return context->performBlockAndWait([&]() -> std::optional<std::int64_t> {
      const auto pending = make<Plant>(*context);
      pending->setSeeds(1);
      auto request = Plant::fetchRequest();
      request.setPredicate(predicate);
      std::optional<std::int64_t> count;
      try {
        count = context->count(request);
        EXPECT_EQ(static_cast<std::int64_t>(context->fetch(request).size()), *count);
      } catch (const foundation::Error&) {
        count.reset();
      }
      context->delete_(pending);
      return count;
    });
  }
};

std::vector<NSPredicate> comparisons(const char* format) {
  std::vector<NSPredicate> parts;
  parts.reserve(kTerms);
  for (int i = 0; i < kTerms; ++i) parts.push_back(NSPredicate::format(format, i));
  return parts;
}

TEST_F(PredicateLimits, TakeTenThousandAlternatives) {
  EXPECT_EQ(found(NSCompoundPredicate::orPredicate(comparisons("seeds = %d"))), 3);
}

TEST_F(PredicateLimits, TakeTenThousandConditions) {
  EXPECT_EQ(found(NSCompoundPredicate::andPredicate(comparisons("seeds != %d"))), 1);
}

TEST_F(PredicateLimits, TakeTenThousandMembersOfAList) {
  foundation::ValueList list;
  for (int i = 0; i < kTerms; ++i) list.emplace_back(i);

  EXPECT_EQ(found(NSPredicate::format("seeds IN %@", list)), 3);
}

TEST_F(PredicateLimits, TakeADeepNestingOrRefuseIt) {
  bool isRefused = false;
  for (const int depth : {1, 10, 100, 500, 998, 1000, 1002, 5000, 100'000}) {
    std::string format;
    for (int i = 0; i < depth; ++i)
      format += i % 2 == 0 ? "NOT (seeds = 7 OR " : "(seeds != 7 AND ";
    format += "seeds = 1" + std::string(static_cast<std::size_t>(depth), ')');
    std::optional<std::int64_t> count;
    try {
      count = found(NSPredicate::format(format));
    } catch (const foundation::Error&) {
      count.reset();
    }
    // One of the four has 1 seed, and every other level turns the condition round.
    if (count) {
      EXPECT_EQ(*count, (depth + 1) / 2 % 2 == 1 ? 3 : 1) << depth;
    }
    EXPECT_TRUE(count || depth > 100) << depth;
    isRefused = isRefused || !count;
  }

  EXPECT_TRUE(isRefused);
  EXPECT_EQ(found(NSPredicate::format("seeds = 1")), 1);
}

}  // namespace
