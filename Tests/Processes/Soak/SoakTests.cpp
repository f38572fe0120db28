#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <memory>
#include <random>
#include <stdexcept>
#include <thread>
#include <vector>

#include "CoreData/SQLite/StoreVFS.h"
#include "Tests/Processes/SharedNumbers.h"
#include "Tests/Processes/Soak/Member.h"
#include "Tests/Processes/Soak/Verdict.h"
#include "Tests/Support/EnvironmentSetting.h"
#include "Tests/Support/FaultVFS.h"
#include "Tools/storecheck/StoreCheck.h"

// Processes that write to one store and follow one another, some of which are killed now and then.
// Afterwards the store is compared with what they wrote down.

namespace {

using foundation::TestPoint;
using support::Companion;
using support::Line;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/// How long until the next death: 2 to 20 seconds of a long run, less of a short one.
milliseconds untilDeath(std::mt19937_64& random, std::chrono::seconds time) {
  constexpr std::chrono::seconds kLong{100};
  const milliseconds pause(2000 + random() % 18'000);
  return time >= kLong ? pause : pause * time.count() / kLong.count();
}

/// How long until the next death of those that die all the time: 5 milliseconds to 2 seconds, as
/// often below a tenth of a second as above.
milliseconds untilNextDeath(std::mt19937_64& random) {
  const double power = std::uniform_real_distribution(0.0, 1.0)(random);
  return milliseconds(static_cast<std::int64_t>(5 * std::pow(400.0, power)));
}

/// Reads the whole store, as a person would who does not trust it.
void requireSound(const foundation::URL& store) {
  const storecheck::Report report = storecheck::check(store);
  for (const storecheck::Finding& finding : report.findings.list()) {
    if (finding.severity == storecheck::Severity::error) throw std::runtime_error(finding.text);
  }
}

/// Points that a death is worth the most at.
constexpr std::array kDeadly{TestPoint::afterStamp,     TestPoint::beforeCommit,
                             TestPoint::afterCommit,    TestPoint::beforeTimestamp,
                             TestPoint::afterTimestamp, TestPoint::cleanerFetches,
                             TestPoint::cleanerDeletes, TestPoint::cleanerClears};

class Soak : public testing::Test {
 protected:
  void begin(std::size_t index) {
    members_[index] = std::make_unique<Companion>([&, index](Line& line) {
      // Both last as long as the process: a pass may go on in it when all is done.
      auto& files = *new support::FaultVFS;
      files.watch(0);
      files.callBeforeWaits([this] { ++occasions_->busyRetries; });
      const coredata::StoreVFSOverride overFiles(files.name());
      (new soak::Member(place_, static_cast<int>(index), seed_, custom_, *occasions_))->run(line);
    });
  }
  void beginReady(std::size_t index) {
    begin(index);
    ASSERT_EQ(members_[index]->answer(), "ready");
  }
  [[nodiscard]] int numberOfMembers() const { return static_cast<int>(members_.size()); }
  void beginAll() {
    std::printf(
        "to repeat: SOAK_SECONDS=%lld SOAK_KILLS=%d SOAK_SEED=%llu SoakTests "
        "--gtest_filter=Soak.%s\n",
        static_cast<long long>(time_.count()), kills_, static_cast<unsigned long long>(seed_),
        testing::UnitTest::GetInstance()->current_test_info()->name());
    ASSERT_TRUE(Companion([&](Line&) { soak::makeStore(place_, numberOfMembers()); }).endedWell());
    for (std::size_t i = 0; i < members_.size(); ++i) ASSERT_NO_FATAL_FAILURE(beginReady(i));
  }
  /// Every other one dies where it is told to, if it comes there soon.
  static void end(Companion& victim, std::mt19937_64& random) {
    constexpr int kPatienceMs = 500;
    if (random() % 2 == 0) {
      const auto point = static_cast<int>(kDeadly.at(random() % kDeadly.size()));
      victim.line().say("die " + std::to_string(point));
      static_cast<void>(victim.line().hasNews(kPatienceMs));
    }
    victim.kill();
    ASSERT_TRUE(victim.wasKilled());
  }
  void work() {
    std::mt19937_64 random(seed_);
    const auto end = Clock::now() + time_;
    for (;;) {
      const auto next = Clock::now() + untilDeath(random, time_);
      std::this_thread::sleep_until(std::min(next, end));
      if (next >= end) break;
      const auto victim = random() % members_.size();
      ASSERT_NO_FATAL_FAILURE(Soak::end(*members_[victim], random));
      ++deaths_;
      ASSERT_NO_FATAL_FAILURE(beginReady(victim));
    }
  }
  /// One of two, or both at once, wherever they are.
  void dieAllTheTime() {
    std::mt19937_64 random(seed_);
    while (deaths_ < kills_) {
      std::this_thread::sleep_for(untilNextDeath(random));
      const auto victims = 1 + random() % 3;
      for (std::size_t i = 0; i < members_.size(); ++i) {
        if ((victims >> i & 1) == 0) continue;
        members_[i]->kill();
        ++deaths_;
      }
      for (std::size_t i = 0; i < members_.size(); ++i) {
        if ((victims >> i & 1) == 0) continue;
        ASSERT_TRUE(members_[i]->wasKilled());
        ASSERT_NO_FATAL_FAILURE(beginReady(i));
      }
    }
  }
  void tellAll(const char* order, const char* answer) {
    for (const auto& member : members_) member->line().say(order);
    for (const auto& member : members_) ASSERT_EQ(member->answer(), answer);
  }
  void run() {
    ASSERT_NO_FATAL_FAILURE(beginAll());
    ASSERT_NO_FATAL_FAILURE(work());
    settle();
  }
  void settle() {
    ASSERT_NO_FATAL_FAILURE(tellAll("quiet", "quiet"));
    ASSERT_NO_FATAL_FAILURE(tellAll("settle", "settled"));
    for (const auto& member : members_) EXPECT_TRUE(member->endedWell());
    EXPECT_TRUE(Companion([&](Line&) { requireSound(place_.storeURL()); }).endedWell());
  }
  void judge(const soak::Verdict& verdict) const {
    report(verdict);
    verdict.expectWholeStore();
    verdict.expectAcknowledged();
    verdict.expectMerged();
    EXPECT_GT(deaths_, 0);
  }
  void report(const soak::Verdict& verdict) const {
    std::printf("%d deaths, %lld transactions\n", deaths_,
                static_cast<long long>(verdict.transactions()));
    auto counts = verdict.counts();
    for (const auto& [what, count] : counts) std::printf("%8d %s\n", count, what.c_str());
    forEachRarity(*occasions_,
                  [&](std::string_view what, std::uint64_t count) { show(what, count); });
    show("kept after a failure", static_cast<std::uint64_t>(counts[soak::kKept]));
  }
  /// In a long run nothing of this may have stayed away.
  void show(std::string_view what, std::uint64_t count) const {
    std::printf("%8llu times: %.*s\n", static_cast<unsigned long long>(count),
                static_cast<int>(what.size()), what.data());
    if (time_ >= std::chrono::minutes(30)) {
      EXPECT_GT(count, 0U) << what;
    }
  }

  const std::uint64_t seed_ =
      support::numberFrom("SOAK_SEED", support::runSeed(std::random_device()()));
  const std::chrono::seconds time_{support::numberFrom("SOAK_SECONDS", 5)};
  const int kills_ = static_cast<int>(support::numberFrom("SOAK_KILLS", 12));
  support::MigrationPlace place_;
  support::SharedNumbers<soak::Occasions> occasions_;
  soak::Custom custom_ = soak::Custom::keepsHistory;
  std::vector<std::unique_ptr<Companion>> members_ = std::vector<std::unique_ptr<Companion>>(4);
  int deaths_ = 0;
};

TEST_F(Soak, LosesNothingAndMissesNothing) {
  ASSERT_NO_FATAL_FAILURE(run());

  judge(soak::Verdict(place_, numberOfMembers(), custom_));
}

TEST_F(Soak, LosesNothingWhereTwoDieAllTheTime) {
  members_.resize(2);
  ASSERT_NO_FATAL_FAILURE(beginAll());

  ASSERT_NO_FATAL_FAILURE(dieAllTheTime());

  ASSERT_NO_FATAL_FAILURE(settle());
  const soak::Verdict verdict(place_, numberOfMembers(), custom_);
  std::printf("%d deaths, %lld transactions\n", deaths_,
              static_cast<long long>(verdict.transactions()));
  verdict.expectWholeStore();
  verdict.expectAcknowledged();
  verdict.expectMerged();
}

TEST_F(Soak, MissesNothingOverAPrunedHistory) {
  custom_ = soak::Custom::prunesHistory;

  ASSERT_NO_FATAL_FAILURE(run());

  const soak::Verdict verdict(place_, numberOfMembers(), custom_);
  judge(verdict);
  verdict.expectPruned();
}

}  // namespace
