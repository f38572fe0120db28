#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Foundation/Text/DayKey.h"
#include "Tests/CoreDataStack/Queries/Diary.h"
#include "Tests/Support/LocalDate.h"

namespace coredatastack {
namespace {

using domain::ActivityStatus;
using domain::CheckinType;
using domain::DateFormat;
using foundation::Ref;
using support::localDate;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

using CheckinTypes = API::CheckinTypes;

const CheckinTypes kAlternate{{CheckinType::alternate}};

class CheckinLists : public QueriesOfBoth {
 protected:
  Ref<CDActivity> run_ = diary_.activity("Run");
  Ref<CDActivity> read_ = diary_.activity("Read");
};

INSTANTIATE_TEST_SUITE_P(Kept, CheckinLists, kBoth, nameOfKept);

TEST_P(CheckinLists, HoldTheOrdinaryOnesByDay) {
  diary_.checkIn(run_, "2024-02-10");
  diary_.checkIn(run_, "2023-12-31");
  diary_.checkIn(run_, "2024-01-05", CheckinType::alternate);
  diary_.checkIn(read_, "2024-01-06");
  keep();

  EXPECT_THAT(days(api().checkins(run_)), ElementsAre("2023-12-31", "2024-02-10"));
}

TEST_P(CheckinLists, HoldBothTypesUnlessAsked) {
  diary_.checkIn(run_, "2024-02-10");
  diary_.checkIn(run_, "2024-01-05", CheckinType::alternate);
  keep();

  EXPECT_THAT(days(api().checkins(run_, kAllTypes)), ElementsAre("2024-01-05", "2024-02-10"));
}

TEST_P(CheckinLists, HoldTheTypesThatAreAskedFor) {
  diary_.checkIn(run_, "2024-02-10");
  diary_.checkIn(run_, "2024-01-05", CheckinType::alternate);
  keep();

  EXPECT_THAT(days(api().checkins(run_, kAlternate)), ElementsAre("2024-01-05"));
  EXPECT_THAT(days(api().checkins(run_, {{CheckinType::alternate, CheckinType::standard}})),
              ElementsAre("2024-01-05", "2024-02-10"));
}

TEST_P(CheckinLists, HoldACheckinOnceHoweverOftenItsTypeIsNamed) {
  diary_.checkIn(run_, "2024-02-10");
  keep();

  EXPECT_THAT(days(api().checkins(run_, {{CheckinType::standard, CheckinType::standard}})),
              ElementsAre("2024-02-10"));
}

TEST_P(CheckinLists, HoldNothingOfNoType) {
  diary_.checkIn(run_, "2024-02-10");
  keep();

  EXPECT_THAT(days(api().checkins(run_, kNoTypes)), IsEmpty());
  EXPECT_THAT(days(api().checkins(run_, kNoTypes, localDate(2024, 2, 10), DateFormat::day)),
              IsEmpty());
  EXPECT_THAT(days(api().checkins(run_, kNoTypes, localDate(2024, 2, 10), localDate(2024, 2, 10))),
              IsEmpty());
}

TEST_P(CheckinLists, HoldThoseOfNoActivityWhenThereIsNone) {
  diary_.checkIn(nullptr, "2024-02-10");
  diary_.checkIn(run_, "2024-02-11");
  keep();

  EXPECT_THAT(days(api().checkins(nullptr)), ElementsAre("2024-02-10"));
}

TEST_P(CheckinLists, HoldEveryDayOfAMonth) {
  for (const char* day : {"2024-02-01", "2024-02-29", "2024-01-31", "2024-03-01", "2023-02-17"}) {
    diary_.checkIn(run_, day);
  }
  diary_.checkIn(read_, "2024-02-17");
  keep();

  EXPECT_THAT(days(api().checkins(run_, localDate(2024, 2, 17), DateFormat::month)),
              UnorderedElementsAre("2024-02-01", "2024-02-29"));
}

TEST_P(CheckinLists, HoldEveryDayOfAYear) {
  for (const char* day : {"2024-01-01", "2024-12-31", "2023-12-31", "2025-01-01"}) {
    diary_.checkIn(run_, day);
  }
  diary_.checkIn(run_, "2024-07-01", CheckinType::alternate);
  keep();

  EXPECT_THAT(days(api().checkins(run_, localDate(2024, 7, 1), DateFormat::year)),
              UnorderedElementsAre("2024-01-01", "2024-12-31"));
  EXPECT_THAT(days(api().checkins(run_, kAllTypes, localDate(2024, 7, 1), DateFormat::year)),
              UnorderedElementsAre("2024-01-01", "2024-07-01", "2024-12-31"));
}

TEST_P(CheckinLists, HoldADayAndNothingThatOnlyBeginsLikeIt) {
  for (const char* day : {"2024-02-10", "2024-02-1", "2024-02-10 ", "2024-02-11"}) {
    diary_.checkIn(run_, day);
  }
  keep();

  EXPECT_THAT(days(api().checkins(run_, localDate(2024, 2, 10), DateFormat::day)),
              ElementsAre("2024-02-10"));
}

TEST_P(CheckinLists, TakeADateForItsLocalDay) {
  diary_.checkIn(run_, "2024-02-10");
  keep();

  EXPECT_EQ(api().checkins(run_, localDate(2024, 2, 10, 0, 0), DateFormat::day).size(), 1U);
  EXPECT_EQ(api().checkins(run_, localDate(2024, 2, 10, 23, 59), DateFormat::day).size(), 1U);
  EXPECT_EQ(api().checkins(run_, localDate(2024, 2, 11, 0, 0), DateFormat::day).size(), 0U);
}

TEST_P(CheckinLists, HoldBothEndsOfAPeriodWhateverTheHour) {
  for (const char* day : {"2024-02-09", "2024-02-10", "2024-02-11", "2024-02-12", "2024-02-13"}) {
    diary_.checkIn(run_, day);
  }
  diary_.checkIn(read_, "2024-02-11");
  diary_.checkIn(run_, std::nullopt);
  keep();

  EXPECT_THAT(days(api().checkins(run_, kAllTypes, localDate(2024, 2, 10, 23, 59),
                                  localDate(2024, 2, 12, 0, 1))),
              UnorderedElementsAre("2024-02-10", "2024-02-11", "2024-02-12"));
}

TEST_P(CheckinLists, HoldOneDayForAPeriodOfOneDay) {
  diary_.checkIn(run_, "2024-02-10");
  diary_.checkIn(run_, "2024-02-11");
  keep();

  EXPECT_THAT(days(api().checkins(run_, kAllTypes, localDate(2024, 2, 10), localDate(2024, 2, 10))),
              ElementsAre("2024-02-10"));
}

TEST_P(CheckinLists, HoldNothingForAPeriodThatEndsBeforeItBegins) {
  diary_.checkIn(run_, "2024-02-10");
  keep();

  EXPECT_THAT(days(api().checkins(run_, kAllTypes, localDate(2024, 2, 11), localDate(2024, 2, 9))),
              IsEmpty());
}

TEST_P(CheckinLists, HoldTheTypesThatAreAskedForInAPeriodAndOnADay) {
  diary_.checkIn(run_, "2024-02-10");
  diary_.checkIn(run_, "2024-02-11", CheckinType::alternate);
  keep();

  EXPECT_THAT(
      days(api().checkins(run_, kAlternate, localDate(2024, 2, 10), localDate(2024, 2, 11))),
      ElementsAre("2024-02-11"));
  EXPECT_THAT(days(api().checkins(run_, kAlternate, localDate(2024, 2, 10), DateFormat::day)),
              IsEmpty());
  EXPECT_THAT(days(api().checkins(run_, kAlternate, localDate(2024, 2, 10), DateFormat::month)),
              ElementsAre("2024-02-11"));
}

TEST_P(CheckinLists, FollowThePersonsCalendarAndDigits) {
  for (const char* locale : {"th_TH", "ar_EG", "fa_IR"}) {
    const support::ScopedSettings settings(locale, "Asia/Bangkok");
    diary_.checkIn(run_, foundation::DayKey(localDate(2567, 2, 10)).string());
  }
  keep();

  for (const char* locale : {"th_TH", "ar_EG", "fa_IR"}) {
    const support::ScopedSettings settings(locale, "Asia/Bangkok");
    const auto date = localDate(2567, 2, 10);
    for (const DateFormat format : {DateFormat::year, DateFormat::month, DateFormat::day}) {
      EXPECT_THAT(days(api().checkins(run_, date, format)),
                  ElementsAre(foundation::DayKey(date).string()))
          << locale;
    }
  }
}

TEST_P(CheckinLists, KnowADayThatHoldsAnOtherTypeOnly) {
  diary_.checkIn(run_, "2024-02-10", CheckinType::alternate);
  keep();

  EXPECT_TRUE(api().checkinExists(localDate(2024, 2, 10, 23, 59), run_));
  EXPECT_THAT(days(api().checkins(run_)), IsEmpty());
}

TEST_P(CheckinLists, KnowThatADayIsFree) {
  diary_.checkIn(run_, "2024-02-10");
  diary_.checkIn(read_, "2024-02-11");
  keep();

  EXPECT_FALSE(api().checkinExists(localDate(2024, 2, 11), run_));
  EXPECT_FALSE(api().checkinExists(localDate(2024, 2, 10), read_));
}

TEST_P(CheckinLists, BeginWithTheEarliestDayOfAnActivityOfTheStatus) {
  const auto first = diary_.checkIn(run_, "2024-01-05", CheckinType::alternate);
  diary_.checkIn(run_, "2024-02-10");
  diary_.checkIn(read_, "2023-01-01");
  keep();

  EXPECT_EQ(api().firstCheckin(run_, ActivityStatus::active), first);
}

TEST_P(CheckinLists, BeginWithNothingWhenTheActivityIsOfAnotherStatus) {
  run_->setStatus(ActivityStatus(ActivityStatus::archived).value());
  const auto checkin = diary_.checkIn(run_, "2024-01-05");
  keep();

  EXPECT_EQ(api().firstCheckin(run_, ActivityStatus::active), nullptr);
  EXPECT_EQ(api().firstCheckin(run_, ActivityStatus::archived), checkin);
}

TEST_P(CheckinLists, BeginWithTheEarliestDayOfAllActivitiesOfTheStatus) {
  read_->setStatus(ActivityStatus(ActivityStatus::achieved).value());
  const auto walk = diary_.activity("Walk");
  diary_.checkIn(read_, "2023-01-01");
  diary_.checkIn(nullptr, "2022-01-01");
  diary_.checkIn(run_, "2024-01-05");
  const auto earliest = diary_.checkIn(walk, "2023-06-01");
  keep();

  EXPECT_EQ(api().firstCheckin(nullptr, ActivityStatus::active), earliest);
  EXPECT_EQ(api().firstCheckin(nullptr, ActivityStatus::achieved)->activity(), read_);
  EXPECT_EQ(api().firstCheckin(nullptr, ActivityStatus::archived), nullptr);
}

TEST_P(CheckinLists, EndWithTheLatestDayOfAnyType) {
  diary_.checkIn(run_, "2024-02-09");
  const auto latest = diary_.checkIn(run_, "2024-02-10", CheckinType::alternate);
  diary_.checkIn(run_, "2023-12-31");
  diary_.checkIn(run_, std::nullopt);
  diary_.checkIn(read_, "2024-03-01");
  keep();

  EXPECT_EQ(api().lastCheckin(run_), latest);
}

TEST_P(CheckinLists, HaveNoEndsWithoutCheckins) {
  diary_.checkIn(read_, "2024-03-01");
  keep();

  EXPECT_EQ(api().firstCheckin(run_, ActivityStatus::active), nullptr);
  EXPECT_EQ(api().lastCheckin(run_), nullptr);
}

/// What was saved, and then changed in the context.
class ChangedCheckinLists : public testing::Test {
 protected:
  ChangedCheckinLists() { diary_.save(); }
  [[nodiscard]] const LocalAPI& api() const { return diary_.api(); }

  Diary diary_;
  Ref<CDActivity> run_ = diary_.activity("Run");
  Ref<CDCheckin> first_ = diary_.checkIn(run_, "2024-01-05");
  Ref<CDCheckin> second_ = diary_.checkIn(run_, "2024-02-10");
  Ref<CDCheckin> third_ = diary_.checkIn(run_, "2024-03-20");
};

TEST_F(ChangedCheckinLists, ShowACheckinWhereItWasMovedTo) {
  first_->setDate("2024-02-11");

  EXPECT_THAT(days(api().checkins(run_)), ElementsAre("2024-02-10", "2024-02-11", "2024-03-20"));
  EXPECT_THAT(days(api().checkins(run_, localDate(2024, 1, 1), DateFormat::month)), IsEmpty());
  EXPECT_FALSE(api().checkinExists(localDate(2024, 1, 5), run_));
  EXPECT_TRUE(api().checkinExists(localDate(2024, 2, 11), run_));
  EXPECT_EQ(api().firstCheckin(run_, ActivityStatus::active), second_);
}

TEST_F(ChangedCheckinLists, LeaveOutWhatWasDeleted) {
  diary_.context().delete_(first_);
  diary_.context().delete_(third_);

  EXPECT_THAT(days(api().checkins(run_)), ElementsAre("2024-02-10"));
  EXPECT_EQ(api().firstCheckin(run_, ActivityStatus::active), second_);
  EXPECT_EQ(api().lastCheckin(run_), second_);
}

TEST_F(ChangedCheckinLists, LeaveOutWhatChangedItsType) {
  second_->setType(CheckinType(CheckinType::alternate).value());

  EXPECT_THAT(days(api().checkins(run_)), ElementsAre("2024-01-05", "2024-03-20"));
}

TEST_F(ChangedCheckinLists, ReachFromStoredDaysToNewOnes) {
  const auto earlier = diary_.checkIn(run_, "2023-01-01");
  const auto later = diary_.checkIn(run_, "2025-01-01");

  EXPECT_EQ(api().firstCheckin(run_, ActivityStatus::active), earlier);
  EXPECT_EQ(api().lastCheckin(run_), later);
}

TEST_F(ChangedCheckinLists, AreOfTheQueriesContext) {
  const auto background = diary_.store().newBackgroundContext();
  const LocalAPI other(background, foundation::make<support::RecordingLogger>());
  first_->setDate("2020-01-01");

  background->performBlockAndWait([&] {
    const auto checkins = other.checkins(run_);
    ASSERT_EQ(checkins.size(), 3U);
    EXPECT_EQ(checkins[0]->managedObjectContext(), background);
    EXPECT_EQ(checkins[0]->date(), "2024-01-05");
  });
}

}  // namespace
}  // namespace coredatastack
