#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <memory>
#include <random>
#include <stdexcept>
#include <thread>
#include <vector>

#include "Tests/Processes/Soak/Member.h"
#include "Tests/Processes/Soak/Verdict.h"
#include "Tests/Support/Effort.h"
#include "Tools/storecheck/StoreCheck.h"

// Four processes that write to one store and follow one another, one of which is killed now and
// then. Afterwards the store is compared with what they wrote down.

namespace {

using support::Companion;
using support::Line;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr int kMembers = 4;

/// How long until the next death: 2 to 20 seconds of a long run, less of a short one.
milliseconds untilDeath(std::mt19937_64& random, std::chrono::seconds time) {
  constexpr std::chrono::seconds kLong{100};
  const milliseconds pause(2000 + random() % 18'000);
  return time >= kLong ? pause : pause * time.count() / kLong.count();
}

/// Reads the whole store, as a person would who does not trust it.
void requireSound(const foundation::URL& store) {
  const storecheck::Report report = storecheck::check(store);
  for (const storecheck::Finding& finding : report.findings.list()) {
    if (finding.severity == storecheck::Severity::error) throw std::runtime_error(finding.text);
  }
}

class Soak : public testing::Test {
 protected:
  void begin(int index) {
    members_[static_cast<std::size_t>(index)] = std::make_unique<Companion>(
        [&](Line& line) { soak::Member(place_, index, seed_).run(line); });
  }
  void work() {
    std::mt19937_64 random(seed_);
    const auto end = Clock::now() + time_;
    for (;;) {
      const auto next = Clock::now() + untilDeath(random, time_);
      std::this_thread::sleep_until(std::min(next, end));
      if (next >= end) break;
      const auto victim = random() % kMembers;
      members_[victim]->kill();
      ++deaths_;
      ASSERT_TRUE(members_[victim]->wasKilled());
      begin(static_cast<int>(victim));
      ASSERT_EQ(members_[victim]->answer(), "ready");
    }
  }
  void tellAll(const char* order, const char* answer) {
    for (const auto& member : members_) member->line().say(order);
    for (const auto& member : members_) ASSERT_EQ(member->answer(), answer);
  }
  void report(const soak::Verdict& verdict) const {
    std::printf("%d deaths, %zu transactions\n", deaths_, verdict.transactions());
    for (const auto& [what, count] : verdict.counts()) {
      std::printf("%8d %s\n", count, what.c_str());
    }
  }

  const std::uint64_t seed_ = support::numberFrom("SOAK_SEED", std::random_device()());
  const std::chrono::seconds time_{support::numberFrom("SOAK_SECONDS", 5)};
  support::MigrationPlace place_;
  std::array<std::unique_ptr<Companion>, kMembers> members_;
  int deaths_ = 0;
};

TEST_F(Soak, LosesNothingAndMissesNothing) {
  std::printf("to repeat: SOAK_SECONDS=%lld SOAK_SEED=%llu SoakTests\n",
              static_cast<long long>(time_.count()), static_cast<unsigned long long>(seed_));
  ASSERT_TRUE(Companion([&](Line&) { soak::makeStore(place_, kMembers); }).endedWell());
  for (int i = 0; i < kMembers; ++i) {
    begin(i);
    ASSERT_EQ(members_[static_cast<std::size_t>(i)]->answer(), "ready");
  }

  ASSERT_NO_FATAL_FAILURE(work());
  ASSERT_NO_FATAL_FAILURE(tellAll("quiet", "quiet"));
  ASSERT_NO_FATAL_FAILURE(tellAll("settle", "settled"));
  for (const auto& member : members_) EXPECT_TRUE(member->endedWell());
  EXPECT_TRUE(Companion([&](Line&) { requireSound(place_.storeURL()); }).endedWell());

  const soak::Verdict verdict(place_, kMembers);
  report(verdict);
  verdict.expectWholeStore();
  verdict.expectAcknowledged();
  verdict.expectMerged();
  EXPECT_GT(deaths_, 0);
}

}  // namespace
