#include "CoreDataStack/Model/CDGoal.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <vector>

#include "Foundation/Files/Bundle.h"
#include "Tests/Support/ScopedSettings.h"
#include "Tests/Support/TemporaryStore.h"

namespace coredatastack {
namespace {

using domain::UserType;
using foundation::make;
using foundation::Ref;
using Interval = CDGoal::Interval;

TEST(CDGoalInterval, IsOneOfSixNumbers) {
  std::vector<std::int16_t> known;
  for (std::int16_t number = -20; number <= 20; ++number) {
    if (Interval::withRawValue(number)) known.push_back(number);
  }

  EXPECT_EQ(known, (std::vector<std::int16_t>{0, 1, 2, 3, 4, 10}));
}

TEST(CDGoalInterval, ReadsBackItsNumber) {
  EXPECT_EQ(Interval::withRawValue(10), Interval::count);
  EXPECT_EQ(Interval::withRawValue(3), Interval::monthly);
  EXPECT_EQ(Interval(Interval::count).rawValue(), 10);
  EXPECT_EQ(Interval(Interval::yearly).rawValue(), 4);
}

TEST(CDGoalInterval, RepeatsUnlessItIsNoneOrCount) {
  EXPECT_FALSE(Interval(Interval::none).isRepeat());
  EXPECT_TRUE(Interval(Interval::daily).isRepeat());
  EXPECT_TRUE(Interval(Interval::weekly).isRepeat());
  EXPECT_TRUE(Interval(Interval::monthly).isRepeat());
  EXPECT_TRUE(Interval(Interval::yearly).isRepeat());
  EXPECT_FALSE(Interval(Interval::count).isRepeat());
}

TEST(CDGoalInterval, IsHashedByItsNumber) {
  EXPECT_EQ(std::hash<Interval>{}(Interval::count), std::hash<std::int16_t>{}(10));
}

/// Goals whose texts come from a table of the test's own, each key under a text that names it.
class CDGoalTest : public testing::Test {
 protected:
  CDGoalTest() {
    foundation::Bundle::setMain(
        foundation::Bundle::at(foundation::URL::fileURL(directory_.path().string())).value());
    writeTable(R"(
      "Daily Streak" = "daily streak %d"; "Weekly Streak" = "weekly streak %d";
      "Monthly Streak" = "monthly streak %d"; "Yearly Streak" = "yearly streak %d";
      "Goal Daily Description" = "%d daily"; "Goal Weekly Description" = "%d weekly";
      "Goal Monthly Description" = "%d monthly"; "Goal Yearly Description" = "%d yearly";
      "None" = "no goal";
    )");
  }
  ~CDGoalTest() override { foundation::Bundle::setMain(before_); }

  void writeTable(const char* text) const {
    std::filesystem::create_directories(directory_.path() / "en.lproj");
    std::ofstream(directory_.path() / "en.lproj" / "Localizable.strings") << text;
  }
  [[nodiscard]] Ref<CDGoal> goal(std::int16_t interval, std::int16_t count) const {
    auto result = make<CDGoal>(store_.context());
    result->setInterval(interval);
    result->setCount(count);
    return result;
  }
  [[nodiscard]] std::optional<std::string> described(std::int16_t interval, std::int16_t count,
                                                     UserType user = UserType::standard) const {
    return goal(interval, count)->localizedDescription(user);
  }

  support::ScopedSettings settings_{"en_US", "Asia/Seoul"};
  support::TemporaryDirectory directory_;
  foundation::Bundle before_ = foundation::Bundle::main();
  support::TemporaryStore store_;
};

TEST_F(CDGoalTest, HasAStreakForEachIntervalThatRepeats) {
  EXPECT_EQ(goal(1, 0)->localizedStreaks(5), "daily streak 5");
  EXPECT_EQ(goal(2, 0)->localizedStreaks(5), "weekly streak 5");
  EXPECT_EQ(goal(3, 0)->localizedStreaks(5), "monthly streak 5");
  EXPECT_EQ(goal(4, 0)->localizedStreaks(5), "yearly streak 5");
}

TEST_F(CDGoalTest, HasNoStreakForAnyOtherInterval) {
  for (const std::int16_t interval : std::to_array<std::int16_t>({-1, 0, 5, 7, 9, 10, 11})) {
    EXPECT_FALSE(goal(interval, 3)->localizedStreaks(5).has_value()) << interval;
  }
}

TEST_F(CDGoalTest, WritesStreaksInThePersonsDigitsAndGrouping) {
  EXPECT_EQ(goal(1, 0)->localizedStreaks(1234), "daily streak 1,234");
}

TEST_F(CDGoalTest, DescribesHowOften) {
  EXPECT_EQ(described(1, 1), "1 daily");
  EXPECT_EQ(described(2, 3), "3 weekly");
}

TEST_F(CDGoalTest, DescribesALongGoalToSomeUsersOnly) {
  EXPECT_EQ(described(3, 2, UserType::premium), "2 monthly");
  EXPECT_EQ(described(4, 2, UserType::premium), "2 yearly");
  EXPECT_EQ(described(3, 2, UserType::standard), "no goal");
  EXPECT_EQ(described(4, 2, UserType::standard), "no goal");
}

TEST_F(CDGoalTest, DescribesAGoalThatAsksForNothingAsNone) {
  for (const std::int16_t interval : std::to_array<std::int16_t>({1, 2, 3, 4, 10})) {
    EXPECT_EQ(described(interval, 0, UserType::premium), "no goal") << interval;
    EXPECT_EQ(described(interval, -1, UserType::premium), "no goal") << interval;
  }
}

TEST_F(CDGoalTest, DescribesTheAbsenceOfAGoalAsNone) { EXPECT_EQ(described(0, 3), "no goal"); }

TEST_F(CDGoalTest, DescribesTheAbsenceOfAGoalByItsKeyWithoutATable) {
  writeTable("");

  EXPECT_EQ(described(0, 3), "None");
}

TEST_F(CDGoalTest, DescribesDaysBetweenCheckinsInTheSameWordsEverywhere) {
  EXPECT_EQ(described(10, 3), "체크인 후 3일 마다");
  EXPECT_EQ(described(10, 1000), "체크인 후 1000일 마다");
}

TEST_F(CDGoalTest, DescribesNoUnknownInterval) {
  for (const std::int16_t interval : std::to_array<std::int16_t>({-1, 5, 7, 9, 11})) {
    EXPECT_FALSE(described(interval, 3, UserType::premium).has_value()) << interval;
  }
}

}  // namespace
}  // namespace coredatastack
