// Stores with random damage: whatever is in the file, looking at it ends soon, in a report or an
// error.

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <iostream>
#include <sstream>

#include "Foundation/Values/Error.h"
#include "Tests/Support/CrashRunner.h"
#include "Tests/Support/EnvironmentSetting.h"
#include "Tests/Support/FileDamage.h"
#include "Tests/Support/MigrationPlace.h"
#include "Tests/Tools/storecheck/CheckedStore.h"

namespace storecheck {

namespace {

constexpr std::chrono::seconds kLimit{2};

/// How looks at damaged stores ended.
struct Outcomes {
  int sound = 0;
  int unsound = 0;
  int refused = 0;

  void look(const foundation::URL& store) {
    const auto start = std::chrono::steady_clock::now();
    try {
      ++(check(store).isSound() ? sound : unsound);
    } catch (const foundation::Error& error) {
      EXPECT_FALSE(error.message().empty());
      ++refused;
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, kLimit);
  }
};

class Damage : public testing::Test {
 protected:
  Damage() { std::cout << "DAMAGE_SEED=" << seed << " DAMAGE_COUNT=" << count << "\n"; }

  const std::uint64_t seed = support::numberFrom("DAMAGE_SEED", support::runSeed(20241122));
  const std::uint64_t count = support::numberFrom("DAMAGE_COUNT", 500);
};

TEST_F(Damage, OfAStoreNeverLeadsToMoreThanAReportOrAnError) {
  const CheckedStore store;
  const std::string whole = store.bytes();
  Outcomes outcomes;
  for (std::uint64_t i = 0; i < count && !HasFailure(); ++i) {
    SCOPED_TRACE(seed + i);
    std::string bytes = whole;
    const std::string what = support::FileDamage(seed + i).apply(bytes);
    SCOPED_TRACE(what);
    store.setBytes(bytes);

    outcomes.look(store.url());
  }

  // Else the damage was of one kind only.
  EXPECT_GT(outcomes.sound, 0);
  EXPECT_GT(outcomes.unsound, 0);
  EXPECT_GT(outcomes.refused, 0);
}

TEST_F(Damage, OfALogNeverLeadsToMoreThanAReportOrAnError) {
  const CheckedStore store;
  const auto outcome = support::runInChild([&](const support::Acknowledgements&) {
    const auto newest = coredatastack::CoreDataMigrationVersion::newest();
    const auto context = support::contextOver(store.url(), newest);
    context->performBlockAndWait([&] {
      for (const auto& review : support::allObjects(*context, "MonthlyReview"))
        review->setValue("another", "feedback");
      context->save();
    });
    _exit(0);
  });
  ASSERT_EQ(outcome.exitStatus, 0);
  const std::string path = store.path() + "-wal";
  std::ostringstream stream;
  stream << std::ifstream(path, std::ios::binary).rdbuf();
  // The log is longer than what is in it.
  constexpr std::size_t kUsed = 40000;
  const std::string whole = stream.str().substr(0, kUsed);
  ASSERT_EQ(whole.size(), kUsed);
  const std::string before = store.contentHash();
  std::filesystem::remove(store.path() + "-shm");

  Outcomes outcomes;
  int olderStates = 0;
  for (std::uint64_t i = 0; i < count / 5 && !HasFailure(); ++i) {
    SCOPED_TRACE(seed + i);
    std::string bytes = whole;
    const std::string what = support::FileDamage(seed + i).apply(bytes);
    SCOPED_TRACE(what);
    std::ofstream(path, std::ios::binary) << bytes;

    outcomes.look(store.url());
    if (store.contentHash() != before) ++olderStates;
  }

  EXPECT_GT(olderStates, 0) << "no damage has hit what is in the log";
  EXPECT_GT(outcomes.sound, 0);
}

}  // namespace

}  // namespace storecheck
