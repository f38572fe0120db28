#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "Domain/ActivityStatus.h"
#include "Domain/ActivityWidgetSize.h"
#include "Domain/DayOfWeek.h"
#include "Domain/UserType.h"

namespace domain {
namespace {

TEST(ActivityStatus, IsStoredAsZeroOneAndMinusOne) {
  EXPECT_EQ(ActivityStatus(ActivityStatus::active).value(), 0);
  EXPECT_EQ(ActivityStatus(ActivityStatus::achieved).value(), 1);
  EXPECT_EQ(ActivityStatus(ActivityStatus::archived).value(), -1);
}

TEST(ActivityWidgetSize, IsStoredFromOneOn) {
  EXPECT_EQ(ActivityWidgetSize(ActivityWidgetSize::small).value(), 1);
  EXPECT_EQ(ActivityWidgetSize(ActivityWidgetSize::medium).value(), 2);
  EXPECT_EQ(ActivityWidgetSize(ActivityWidgetSize::large).value(), 3);
}

TEST(ActivityWidgetSize, ReadsBackWhatItStores) {
  EXPECT_EQ(ActivityWidgetSize::with(1), ActivityWidgetSize::small);
  EXPECT_EQ(ActivityWidgetSize::with(2), ActivityWidgetSize::medium);
  EXPECT_EQ(ActivityWidgetSize::with(3), ActivityWidgetSize::large);
}

TEST(ActivityWidgetSize, ReadsEveryOtherNumberAsSmall) {
  for (const std::int16_t number : std::to_array<std::int16_t>({-1, 0, 4, 32767})) {
    EXPECT_EQ(ActivityWidgetSize::with(number), ActivityWidgetSize::small) << number;
  }
}

TEST(DayOfWeek, HasOneBitForEachDayFromSundayOn) {
  std::vector<std::int16_t> bits;
  for (const DayOfWeek day : DayOfWeek::allCases()) bits.push_back(day.bit());

  EXPECT_EQ(bits, (std::vector<std::int16_t>{1, 2, 4, 8, 16, 32, 64}));
  EXPECT_EQ(DayOfWeek::allCases().front(), DayOfWeek::sunday);
}

TEST(DayOfWeek, CallsAllDaysTogetherEveryday) {
  std::int16_t all = 0;
  for (const DayOfWeek day : DayOfWeek::allCases())
    all = static_cast<std::int16_t>(all | day.bit());

  EXPECT_EQ(DayOfWeek::everyday, all);
  EXPECT_EQ(DayOfWeek::everyday, 127);
}

TEST(UserType, MayHaveLongGoalsAtOddPositionsOnly) {
  EXPECT_FALSE(UserType(UserType::standard).mayHaveLongGoals());
  EXPECT_TRUE(UserType(UserType::premium).mayHaveLongGoals());
}

}  // namespace
}  // namespace domain
