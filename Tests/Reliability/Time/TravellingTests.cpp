#include <algorithm>

#include "Foundation/Internal/ManualClock.h"
#include "Tests/Reliability/Time/LibraryZone.h"
#include "Tests/Reliability/Time/StoredDays.h"
#include "Tests/Reliability/Time/ZoneTest.h"
#include "Tests/Support/Effort.h"

namespace coredatastack {
namespace {

using foundation::Date;
using foundation::TimeZone;
using support::LibraryZone;

Date dateAt(std::int64_t instant) { return Date::from1970(static_cast<double>(instant)); }

/// Check-ins day after day, across changes of the clock.
class Streaks : public StoredDays, public testing::WithParamInterface<std::string> {
 protected:
  using Days = std::vector<LibraryZone::Day>;

  /// Five days around each change that is looked at, in their order and none of them twice.
  [[nodiscard]] static Days daysAroundChanges() {
    const LibraryZone library(GetParam());
    const Days all = library.days(support::kFirstInstant, support::kLastInstant);
    auto changes = library.changes(all[2].end, all[all.size() - 3].begin);
    if (changes.empty()) changes.push_back(all[all.size() / 2].begin);
    Days result;
    for (const std::size_t point : support::points(changes.size(), 3, 20)) {
      const auto day =
          std::ranges::upper_bound(all, changes[point - 1], {}, &LibraryZone::Day::end);
      for (auto near = day - 2; near <= day + 2; ++near) {
        if (result.empty() || result.back().begin < near->begin) result.push_back(*near);
      }
    }
    return result;
  }
};

TEST_P(Streaks, HaveOneCheckinForEachDayWhateverItsLength) {
  const support::ScopedSettings settings("en_US", GetParam());
  const Days days = daysAroundChanges();
  std::vector<std::string> expected;
  for (const LibraryZone::Day& day : days) {
    ASSERT_TRUE(checkIn(dateAt(day.begin))) << day.key;
    ASSERT_FALSE(checkIn(dateAt(day.end - 1))) << day.key;

    ASSERT_TRUE(activity_->didCheckin(dateAt((day.begin + day.end) / 2))) << day.key;
    ASSERT_FALSE(activity_->didCheckin(dateAt(day.end))) << day.key;
    ASSERT_EQ(lastDay(), dateAt(day.begin)) << day.key;
    expected.push_back(day.key);
  }

  EXPECT_EQ(keys(), expected);
}

INSTANTIATE_TEST_SUITE_P(Zones, Streaks, testing::ValuesIn(support::testedZones()),
                         support::nameOfZone);

class Travelling : public StoredDays {
 protected:
  static void moveTo(const char* zone) { TimeZone::setCurrent(*TimeZone::named(zone)); }

  // Noon in Seoul is the evening before in Honolulu.
  const Date noon_ = support::localDate(2024, 2, 10, 12);
  foundation::ManualClock clock_{noon_.timeIntervalSinceReferenceDate()};
};

TEST_F(Travelling, BringsAnotherTodayAtOnce) {
  ASSERT_TRUE(checkIn(noon_));
  EXPECT_TRUE(activity_->didCheckinToday());

  moveTo("Pacific/Honolulu");
  EXPECT_FALSE(activity_->didCheckinToday());
  EXPECT_EQ(activity_->checkin(noon_), nullptr);
  EXPECT_EQ(lastDay(), support::localDate(2024, 2, 10));

  moveTo("Asia/Seoul");
  EXPECT_TRUE(activity_->didCheckinToday());
  EXPECT_EQ(lastDay(), support::localDate(2024, 2, 10));
}

TEST_F(Travelling, WritesTheDayOfThePlaceAndLeavesTheOthersAlone) {
  ASSERT_TRUE(checkIn(noon_));
  const auto atHome = rows();

  moveTo("Pacific/Honolulu");
  ASSERT_TRUE(checkIn(noon_));
  EXPECT_FALSE(checkIn(noon_));
  EXPECT_EQ(keys(), (std::vector<std::string>{"2024-02-10", "2024-02-09"}));
  checkOut(noon_);

  EXPECT_EQ(rows(), atHome);
}

TEST_F(Travelling, OverTheDateLineCountsADayOnce) {
  moveTo("Pacific/Kiritimati");
  ASSERT_TRUE(checkIn(noon_));
  moveTo("Etc/GMT+12");
  ASSERT_TRUE(checkIn(noon_));
  clock_.advance(86400);
  EXPECT_FALSE(checkIn(noon_.addingTimeInterval(86400)));

  EXPECT_EQ(keys(), (std::vector<std::string>{"2024-02-10", "2024-02-09"}));
}

}  // namespace
}  // namespace coredatastack
