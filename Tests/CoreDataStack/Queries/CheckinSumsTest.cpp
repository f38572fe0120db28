#include <gtest/gtest.h>

#include <limits>

#include "Foundation/Internal/ManualClock.h"
#include "Foundation/Text/DayKey.h"
#include "Tests/CoreDataStack/Queries/Diary.h"
#include "Tests/Support/LocalDate.h"

namespace coredatastack {
namespace {

using domain::CalendarItem;
using domain::CheckinType;
using foundation::Ref;
using support::localDate;

using CheckinTypes = API::CheckinTypes;

class CheckinSums : public testing::Test {
 protected:
  [[nodiscard]] const LocalAPI& api() const { return diary_.api(); }
  void checkIn(const char* day, double count, CheckinType type = CheckinType::standard) const {
    diary_.checkIn(run_, day, type, count);
  }
  /// Everything of the activity.
  [[nodiscard]] std::int64_t sum() const {
    return api().numberOfCheckins(run_, std::nullopt, std::nullopt);
  }

  Diary diary_;
  Ref<CDActivity> run_ = diary_.activity("Run");
};

TEST_F(CheckinSums, AddTheCountsUp) {
  checkIn("2024-02-09", 1);
  checkIn("2024-02-10", 2);
  checkIn("2024-02-11", 4);
  diary_.checkIn(diary_.activity("Read"), "2024-02-10", CheckinType::standard, 100);
  diary_.save();

  EXPECT_EQ(sum(), 7);
  EXPECT_EQ(api().numberOfCheckins(run_, localDate(2024, 2, 9), localDate(2024, 2, 11)), 7);
}

TEST_F(CheckinSums, AreZeroWithoutCheckins) {
  diary_.save();

  EXPECT_EQ(sum(), 0);
  EXPECT_EQ(api().numberOfCheckins(run_, CalendarItem::year(2024)), 0);
}

TEST_F(CheckinSums, TakeThePeriodsEndsIn) {
  checkIn("2024-02-09", 1);
  checkIn("2024-02-10", 2);
  checkIn("2024-02-11", 4);
  checkIn("2024-02-12", 8);
  diary_.save();
  const auto from = localDate(2024, 2, 10, 23, 59);
  const auto to = localDate(2024, 2, 11, 0, 1);

  EXPECT_EQ(api().numberOfCheckins(run_, from, to), 6);
  EXPECT_EQ(api().numberOfCheckins(run_, from, std::nullopt), 14);
  EXPECT_EQ(api().numberOfCheckins(run_, std::nullopt, to), 7);
  EXPECT_EQ(api().numberOfCheckins(run_, std::nullopt, std::nullopt), 15);
  EXPECT_EQ(api().numberOfCheckins(run_, to, from), 0);
}

TEST_F(CheckinSums, LookAtTheTypesThatAreAskedFor) {
  checkIn("2024-02-09", 1);
  checkIn("2024-02-10", 2, CheckinType::alternate);
  diary_.save();
  const CheckinTypes alternate{{CheckinType::alternate}};
  const auto item = CalendarItem::month(2024, 2);

  EXPECT_EQ(api().numberOfCheckins(run_, item), 1);
  EXPECT_EQ(api().numberOfCheckins(run_, kAllTypes, item), 3);
  EXPECT_EQ(api().numberOfCheckins(run_, alternate, item), 2);
  EXPECT_EQ(api().numberOfCheckins(run_, kNoTypes, item), 0);
  EXPECT_EQ(sum(), 1);
  EXPECT_EQ(api().numberOfCheckins(run_, kAllTypes, std::nullopt, std::nullopt), 3);
  EXPECT_EQ(api().numberOfCheckins(run_, alternate, localDate(2024, 2, 1), std::nullopt), 2);
  EXPECT_EQ(api().numberOfCheckins(run_, kNoTypes, std::nullopt, localDate(2024, 3, 1)), 0);
}

TEST_F(CheckinSums, AreOfAYearAMonthOrADay) {
  checkIn("2023-12-31", 1);
  checkIn("2024-01-31", 2);
  checkIn("2024-02-01", 4);
  checkIn("2024-02-10", 8);
  checkIn("2024-02-29", 16);
  checkIn("2024-12-31", 32);
  diary_.save();

  EXPECT_EQ(api().numberOfCheckins(run_, CalendarItem::year(2024)), 62);
  EXPECT_EQ(api().numberOfCheckins(run_, CalendarItem::month(2024, 2)), 28);
  EXPECT_EQ(api().numberOfCheckins(run_, CalendarItem::day(2024, 2, 10)), 8);
  EXPECT_EQ(api().numberOfCheckins(run_, CalendarItem::day(2024, 2, 11)), 0);
}

TEST_F(CheckinSums, TakeWhateverBeginsLikeTheDay) {
  checkIn("2024-02-10", 1);
  checkIn("2024-02-10 evening", 2);
  diary_.save();

  EXPECT_EQ(api().numberOfCheckins(run_, CalendarItem::day(2024, 2, 10)), 3);
}

TEST_F(CheckinSums, CarryNumbersBeyondTheCalendarsOver) {
  checkIn("2025-01-01", 1);
  checkIn("2024-03-01", 2);
  diary_.save();

  EXPECT_EQ(api().numberOfCheckins(run_, CalendarItem::month(2024, 13)), 1);
  EXPECT_EQ(api().numberOfCheckins(run_, CalendarItem::day(2024, 2, 30)), 2);
}

TEST_F(CheckinSums, AreOfNowWhereTheCalendarHasNoSuchDay) {
  const foundation::ManualClock clock(localDate(2024, 2, 10, 12).timeIntervalSinceReferenceDate());
  checkIn("2024-02-10", 1);
  checkIn("2024-02-11", 2);
  checkIn("2024-03-01", 4);
  checkIn("2023-02-10", 8);
  diary_.save();
  constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();

  EXPECT_EQ(api().numberOfCheckins(run_, CalendarItem::year(kNever)), 7);
  EXPECT_EQ(api().numberOfCheckins(run_, CalendarItem::month(kNever, 1)), 3);
  EXPECT_EQ(api().numberOfCheckins(run_, CalendarItem::day(kNever, 1, 1)), 1);
}

TEST_F(CheckinSums, FollowThePersonsCalendar) {
  const support::ScopedSettings settings("th_TH", "Asia/Bangkok");
  checkIn("2567-02-10", 1);
  checkIn("2024-02-10", 2);
  diary_.save();

  EXPECT_EQ(api().numberOfCheckins(run_, CalendarItem::year(2567)), 1);
  EXPECT_EQ(api().numberOfCheckins(run_, CalendarItem::day(2567, 2, 10)), 1);
}

TEST_F(CheckinSums, AddFractionsUpToAWhole) {
  checkIn("2024-02-10", 0.5);
  checkIn("2024-02-11", 1.5);
  diary_.save();

  EXPECT_EQ(sum(), 2);
}

TEST_F(CheckinSums, AreZeroWhenTheyAreNoWholeNumber) {
  checkIn("2024-02-10", 0.5);
  checkIn("2024-02-11", 1);
  diary_.save();

  EXPECT_EQ(sum(), 0);
  EXPECT_EQ(api().numberOfCheckins(run_, CalendarItem::year(2024)), 0);
}

TEST_F(CheckinSums, AreZeroWhenTheyFitNoWholeNumber) {
  checkIn("2024-02-10", 1e19);
  checkIn("2025-02-10", std::numeric_limits<double>::infinity());
  diary_.save();

  EXPECT_EQ(api().numberOfCheckins(run_, CalendarItem::year(2024)), 0);
  EXPECT_EQ(api().numberOfCheckins(run_, CalendarItem::year(2025)), 0);
}

TEST_F(CheckinSums, MayBeNegative) {
  checkIn("2024-02-10", -3);
  diary_.save();

  EXPECT_EQ(sum(), -3);
}

TEST_F(CheckinSums, AreExactAsFarAsDoublesAre) {
  checkIn("2024-02-10", 9007199254740991);
  diary_.save();

  EXPECT_EQ(sum(), 9007199254740991);
}

TEST_F(CheckinSums, SeeTheStoreAlone) {
  checkIn("2024-02-10", 1);
  diary_.save();
  checkIn("2024-02-11", 2);
  run_->checkin(localDate(2024, 2, 10))->increaseCount();

  EXPECT_EQ(sum(), 1);
  EXPECT_EQ(api().numberOfCheckins(run_, CalendarItem::month(2024, 2)), 1);
  EXPECT_EQ(api().numberOfCheckins(run_, kAllTypes, CalendarItem::day(2024, 2, 11)), 0);
  diary_.save();
  EXPECT_EQ(sum(), 4);
  EXPECT_EQ(api().numberOfCheckins(run_, CalendarItem::month(2024, 2)), 4);
  EXPECT_EQ(api().numberOfCheckins(run_, kAllTypes, CalendarItem::day(2024, 2, 11)), 2);
}

TEST_F(CheckinSums, AreZeroForAnActivityThatIsNotSaved) {
  checkIn("2024-02-10", 1);

  EXPECT_EQ(sum(), 0);
  EXPECT_EQ(api().numberOfCheckins(run_, CalendarItem::year(2024)), 0);
  EXPECT_EQ(api().numberOfCheckins(run_, kAllTypes, CalendarItem::year(2024)), 0);
}

}  // namespace
}  // namespace coredatastack
