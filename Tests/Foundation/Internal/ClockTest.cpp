#include "Foundation/Internal/Clock.h"

#include <gtest/gtest.h>

#include <chrono>

#include "Foundation/Internal/ManualClock.h"
#include "Foundation/Values/Date.h"

namespace foundation {
namespace {

TEST(Clock, ReadsTheSystemsTime) {
  const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();

  const double seconds = Clock::now() + Date::kSecondsFrom1970ToReference;

  EXPECT_NEAR(seconds, std::chrono::duration<double>(sinceEpoch).count(), 60);
}

TEST(Clock, StandsStillUnderAManualClock) {
  const ManualClock clock(1000.25);

  EXPECT_EQ(Date::now(), Date::fromReference(1000.25));
  EXPECT_EQ(Date::now(), Date::fromReference(1000.25));
}

TEST(Clock, MovesAsTheManualClockIsTold) {
  ManualClock clock(1000);

  clock.advance(-0.5);
  EXPECT_EQ(Clock::now(), 999.5);
  clock.set(7);
  EXPECT_EQ(Clock::now(), 7);
}

TEST(Clock, GoesBackToTheOuterClockWhenTheInnerOneEnds) {
  const ManualClock outer(1);
  { const ManualClock inner(2); }

  EXPECT_EQ(Clock::now(), 1);
}

}  // namespace
}  // namespace foundation
