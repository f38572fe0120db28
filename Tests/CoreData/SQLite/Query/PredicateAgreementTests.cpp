#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <iostream>
#include <optional>
#include <random>

#include "Foundation/Predicate/NSCompoundPredicate.h"
#include "Foundation/Predicate/PredicateEvaluation.h"
#include "Foundation/Values/Error.h"
#include "Tests/CoreData/SQLite/Query/HabitWorld.h"
#include "Tests/CoreData/SQLite/Query/RandomPredicates.h"
#include "Tests/Support/EnvironmentSetting.h"

namespace {

using coredata::ObjectKey;
using foundation::NSCompoundPredicate;
using foundation::NSPredicate;

/// None for a predicate that is refused because it makes no sense.
std::optional<habits::Fetch> fetchOf(std::string_view entityName, habits::RandomPredicate made) {
  try {
    return habits::fetch(entityName, NSPredicate::formatWithArguments(made.format, made.arguments));
  } catch (const foundation::Error&) {
    return std::nullopt;
  }
}

std::vector<ObjectKey> judgedInMemory(const habits::World& world, const habits::Fetch& fetch) {
  const habits::WorldReader reader(world, *fetch.plan->predicate());
  std::vector<ObjectKey> result;
  for (const auto& [key, row] : world.rows(fetch.plan->entity())) {
    if (fetch.predicate.evaluate(row.get(), reader)) result.push_back(key);
  }
  return result;
}

std::vector<ObjectKey> allBut(const habits::World& world, const habits::Fetch& fetch,
                              const std::vector<ObjectKey>& keys) {
  std::vector<ObjectKey> result;
  for (const auto& [key, row] : world.rows(fetch.plan->entity())) {
    if (!std::ranges::binary_search(keys, key)) result.push_back(key);
  }
  return result;
}

TEST(PredicateAgreement, FindsInTheStoreWhatHoldsInMemory) {
  constexpr std::uint64_t kPredicatesPerWorld = 500;
  static constexpr std::array kEntities = {"Activity", "Activity", "Checkin", "Photo", "Group"};
  const std::uint64_t seed = support::numberFrom("QUERY_TEST_SEED", support::runSeed(20240611));
  const std::uint64_t worlds = support::numberFrom("QUERY_TEST_WORLDS", 40);
  std::cout << "QUERY_TEST_SEED=" << seed << " QUERY_TEST_WORLDS=" << worlds << '\n';
  std::mt19937_64 random(seed);
  std::uint64_t refused = 0;
  std::uint64_t judged = 0;
  std::uint64_t selective = 0;

  for (std::uint64_t i = 0; i < worlds; ++i) {
    const habits::World world(random);
    habits::Store store;
    store.insert(world.all());
    store.session().begin();
    habits::RandomPredicates predicates{habits::RandomValues(random)};
    for (std::uint64_t n = 0; n < kPredicatesPerWorld;) {
      const char* entityName = kEntities[random() % kEntities.size()];
      const auto fetch = fetchOf(entityName, predicates.about(entityName));
      if (!fetch) {
        ++refused;
        continue;
      }
      ++n;
      const std::vector<ObjectKey> expected = judgedInMemory(world, *fetch);
      const std::vector<ObjectKey> others = allBut(world, *fetch, expected);
      const habits::Fetch opposite =
          habits::fetch(entityName, NSCompoundPredicate::notPredicate(fetch->predicate));

      ASSERT_EQ(store.keys(*fetch), expected) << fetch->predicate.description() << "\n"
                                              << habits::condition(*fetch);
      ASSERT_EQ(store.keys(opposite), others) << opposite.predicate.description() << "\n"
                                              << habits::condition(opposite);
      judged += 2;
      if (!expected.empty() && !others.empty()) ++selective;
    }
    store.session().end();
  }

  // Predicates that hold for all or for nothing show little.
  EXPECT_GT(selective, judged / 10);
  EXPECT_LT(refused, judged);
  std::cout << judged << " queries, " << selective << " selective predicates, " << refused
            << " refused\n";
}

}  // namespace
