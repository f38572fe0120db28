#include <gtest/gtest.h>

#include <atomic>
#include <chrono>

#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/SideLock.h"
#include "Foundation/Internal/Clock.h"
#include "Tests/CoreData/Coordinator/Announcements.h"
#include "Tests/CoreData/Coordinator/WatchedGarden.h"
#include "Tests/CoreData/SQLite/StoreFixture.h"
#include "Tests/Support/ErrorCode.h"

namespace {

using coredata::ReadSession;
using coredata::SideLock;
using coredata::WriteTransaction;
using std::chrono::milliseconds;
using Steady = std::chrono::steady_clock;

/// A clock that is ten years off at each reading, once ahead and once behind, in force while it
/// lives.
class LeapingClock final : public foundation::Clock {
 public:
  LeapingClock() : previous_(install(this)) {}
  ~LeapingClock() override { install(previous_); }
  LeapingClock(const LeapingClock&) = delete;
  LeapingClock& operator=(const LeapingClock&) = delete;

  [[nodiscard]] double secondsSinceReference() const noexcept override {
    constexpr double kTenYears = 315'576'000;
    return 700'000'000 + (readings_.fetch_add(1) % 2 == 0 ? kTenYears : -kTenYears);
  }

 private:
  mutable std::atomic<int> readings_ = 0;
  const Clock* previous_;
};

constexpr milliseconds kPatience{200};
/// More than a machine that does a lot else takes for a wait of that length.
constexpr std::chrono::seconds kMuchLonger{30};

template <typename Work>
[[nodiscard]] Steady::duration timeOf(Work&& work) {
  const auto begin = Steady::now();
  work();
  return Steady::now() - begin;
}

TEST(LeapingClock, LeavesAWriterThePatienceThatItHas) {
  const LeapingClock clock;
  const shelf::StoreFile file;
  auto options = file.options();
  options.busyTimeout = kPatience;
  ReadSession mine(file.open(options));
  ReadSession others(file.open());
  const WriteTransaction blocking(others);

  std::int64_t code = 0;
  const auto time =
      timeOf([&] { code = support::errorCode([&] { const WriteTransaction refused(mine); }); });

  EXPECT_EQ(code, support::number(coredata::StoreErrorCode::busy));
  EXPECT_GE(time, kPatience);
  EXPECT_LT(time, kMuchLonger);
}

TEST(LeapingClock, LeavesWhoeverWaitsForALockThePatienceThatItHas) {
  const LeapingClock clock;
  const support::TemporaryDirectory directory;
  const SideLock lock((directory.path() / "lock").string());
  const auto held = lock.lock(milliseconds(0));
  ASSERT_TRUE(held);

  bool isTaken = true;
  const auto time = timeOf([&] { isTaken = static_cast<bool>(lock.lock(kPatience)); });

  EXPECT_FALSE(isTaken);
  EXPECT_GE(time, kPatience);
  EXPECT_LT(time, kMuchLonger);
}

TEST(LeapingClock, KeepsNoCommitFromBeingAnnounced) {
  const LeapingClock clock;
  const support::TemporaryDirectory directory;
  const auto url = foundation::URL::fileURL((directory.path() / "garden.sqlite").string());
  const auto mine = garden::open(url);
  const auto others = garden::open(url);
  const garden::Announcements heard(mine->persistentStoreCoordinator());

  for (int i = 0; i < 20; ++i) ASSERT_TRUE(heard.await(garden::savePlant(*others)));
}

}  // namespace
