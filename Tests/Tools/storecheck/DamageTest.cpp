// Stores with random damage: whatever is in the file, looking at it ends soon, in a report or an
// error.

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <random>
#include <sstream>

#include "Foundation/Values/Error.h"
#include "Tests/Support/CrashRunner.h"
#include "Tests/Support/MigrationPlace.h"
#include "Tests/Tools/storecheck/CheckedStore.h"

namespace storecheck {

namespace {

constexpr std::size_t kPage = 4096;
constexpr std::chrono::seconds kLimit{2};

std::uint64_t setting(const char* name, std::uint64_t usual) {
  const char* text = std::getenv(name);
  return text == nullptr ? usual : std::strtoull(text, nullptr, 10);
}

class Mutation {
 public:
  explicit Mutation(std::uint64_t seed) : random_(seed) {}

  void apply(std::string& bytes) {
    switch (below(6)) {
      case 0:
        return bytes.resize(below(bytes.size()));
      case 1:
        return copyPage(bytes);
      case 2:
        return static_cast<void>(bytes.replace(page(bytes), kPage, kPage, '\0'));
      case 3:
        return flip(bytes, 1, std::min<std::size_t>(bytes.size(), 200));
      default:
        return flip(bytes, 1 + below(64), bytes.size());
    }
  }

 private:
  std::size_t below(std::size_t end) { return random_() % std::max<std::size_t>(end, 1); }
  std::size_t page(const std::string& bytes) { return below(bytes.size() / kPage) * kPage; }
  void copyPage(std::string& bytes) {
    const std::string copied = bytes.substr(page(bytes), kPage);
    bytes.replace(page(bytes), kPage, copied);
  }
  void flip(std::string& bytes, std::size_t count, std::size_t end) {
    for (std::size_t i = 0; i < count; ++i) bytes[below(end)] ^= static_cast<char>(1U << below(8));
  }

  std::mt19937_64 random_;
};

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

  const std::uint64_t seed = setting("DAMAGE_SEED", 20241122);
  const std::uint64_t count = setting("DAMAGE_COUNT", 500);
};

TEST_F(Damage, OfAStoreNeverLeadsToMoreThanAReportOrAnError) {
  const CheckedStore store;
  const std::string whole = store.bytes();
  Outcomes outcomes;
  for (std::uint64_t i = 0; i < count && !HasFailure(); ++i) {
    SCOPED_TRACE(seed + i);
    std::string bytes = whole;
    Mutation(seed + i).apply(bytes);
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
    Mutation(seed + i).apply(bytes);
    std::ofstream(path, std::ios::binary) << bytes;

    outcomes.look(store.url());
    if (store.contentHash() != before) ++olderStates;
  }

  EXPECT_GT(olderStates, 0) << "no damage has hit what is in the log";
  EXPECT_GT(outcomes.sound, 0);
}

}  // namespace

}  // namespace storecheck
