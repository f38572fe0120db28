#include "CoreDataStack/Model/CDReminder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "Foundation/Text/Calendar.h"
#include "Foundation/Text/DateFormatter.h"
#include "Tests/Support/ScopedSettings.h"
#include "Tests/Support/TemporaryStore.h"

namespace coredatastack {
namespace {

using domain::DayOfWeek;
using foundation::Calendar;
using foundation::make;
using foundation::Ref;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Time = CDReminder::Time;

class CDReminderTest : public testing::Test {
 protected:
  [[nodiscard]] Ref<CDReminder> reminder(std::int16_t days) const {
    auto result = make<CDReminder>(store_.context());
    result->setDays(days);
    return result;
  }

  support::TemporaryStore store_;
};

TEST_F(CDReminderTest, IsOffWhenNew) {
  const auto reminder = make<CDReminder>(store_.context());

  EXPECT_EQ(reminder->days(), 0);
  EXPECT_TRUE(reminder->isOff());
  EXPECT_FALSE(reminder->hasAllDays());
  EXPECT_THAT(reminder->daysOfWeek(), IsEmpty());
}

TEST_F(CDReminderTest, HasAllDaysOnceEachIsAdded) {
  const auto reminder = this->reminder(0);

  for (const DayOfWeek day : DayOfWeek::allCases()) {
    EXPECT_FALSE(reminder->hasAllDays());
    reminder->addDay(day);
  }

  EXPECT_TRUE(reminder->hasAllDays());
  EXPECT_FALSE(reminder->isOff());
  EXPECT_EQ(reminder->days(), 127);
  EXPECT_EQ(reminder->days(), DayOfWeek::everyday);
}

TEST_F(CDReminderTest, KeepsEachDayInABitOfItsOwn) {
  std::int16_t bit = 1;
  for (const DayOfWeek day : DayOfWeek::allCases()) {
    const auto reminder = this->reminder(0);

    reminder->addDay(day);

    EXPECT_EQ(reminder->days(), bit);
    EXPECT_THAT(reminder->daysOfWeek(), ElementsAre(day));
    bit = static_cast<std::int16_t>(bit * 2);
  }
}

TEST_F(CDReminderTest, ListsDaysInTheirOrderNotInThatOfAdding) {
  const auto reminder = this->reminder(0);

  for (const DayOfWeek day : {DayOfWeek::saturday, DayOfWeek::sunday, DayOfWeek::wednesday}) {
    reminder->addDay(day);
  }

  EXPECT_THAT(reminder->daysOfWeek(),
              ElementsAre(DayOfWeek::sunday, DayOfWeek::wednesday, DayOfWeek::saturday));
}

TEST_F(CDReminderTest, HasADayThatIsAddedTwiceOnce) {
  const auto reminder = this->reminder(0);

  reminder->addDay(DayOfWeek::monday);
  reminder->addDay(DayOfWeek::monday);

  EXPECT_EQ(reminder->days(), 2);
}

TEST_F(CDReminderTest, LosesADay) {
  const auto reminder = this->reminder(127);

  reminder->removeDay(DayOfWeek::tuesday);

  EXPECT_EQ(reminder->days(), 127 - 4);
  EXPECT_FALSE(reminder->hasDay(DayOfWeek::tuesday));
  EXPECT_FALSE(reminder->hasAllDays());
  EXPECT_THAT(reminder->daysOfWeek(), SizeIs(6));
}

TEST_F(CDReminderTest, IsUnchangedByRemovingADayThatIsNotSet) {
  const auto reminder = this->reminder(1);

  reminder->removeDay(DayOfWeek::monday);

  EXPECT_EQ(reminder->days(), 1);
}

TEST_F(CDReminderTest, TellsWhetherItHasADay) {
  const auto reminder = this->reminder(64);

  EXPECT_TRUE(reminder->hasDay(DayOfWeek::saturday));
  EXPECT_FALSE(reminder->hasDay(DayOfWeek::friday));
}

TEST_F(CDReminderTest, IsOffWithOnlyABitThatIsNoDay) {
  const auto reminder = this->reminder(128);

  EXPECT_TRUE(reminder->isOff());
  EXPECT_FALSE(reminder->hasAllDays());
  EXPECT_THAT(reminder->daysOfWeek(), IsEmpty());
}

TEST_F(CDReminderTest, HasAllDaysWithOtherBitsAsWell) {
  EXPECT_TRUE(reminder(-1)->hasAllDays());
  EXPECT_THAT(reminder(-1)->daysOfWeek(), SizeIs(7));
}

TEST_F(CDReminderTest, LeavesBitsAloneThatAreNoDays) {
  const auto reminder = this->reminder(std::numeric_limits<std::int16_t>::min());

  reminder->addDay(DayOfWeek::sunday);
  EXPECT_EQ(reminder->days(), std::numeric_limits<std::int16_t>::min() + 1);

  reminder->removeDay(DayOfWeek::sunday);
  EXPECT_EQ(reminder->days(), std::numeric_limits<std::int16_t>::min());
}

TEST_F(CDReminderTest, KeepsItsDaysAndTimeInTheStore) {
  const auto saved = reminder(0);
  saved->addDay(DayOfWeek::friday);
  saved->setTime("07:30");
  store_.context().save();

  store_.reopen();

  const auto read = store_.context().fetch(CDReminder::fetchRequest()).first();
  ASSERT_NE(read, nullptr);
  EXPECT_THAT(read->daysOfWeek(), ElementsAre(DayOfWeek::friday));
  EXPECT_EQ(read->time(), "07:30");
}

TEST_F(CDReminderTest, ServesWhoeverKnowsRemindersAlone) {
  const auto reminder = this->reminder(0);
  reminder->setTime("07:30");
  domain::Reminder& known = *reminder;

  known.addDay(DayOfWeek::monday);
  known.addDay(DayOfWeek::sunday);
  known.removeDay(DayOfWeek::monday);

  EXPECT_EQ(known.days(), 1);
  EXPECT_EQ(known.time(), "07:30");
  EXPECT_TRUE(known.hasDay(DayOfWeek::sunday));
  EXPECT_THAT(known.daysOfWeek(), ElementsAre(DayOfWeek::sunday));
}

class CDReminderTimeTest : public testing::Test {
 protected:
  support::ScopedSettings settings_{"en_US", "Asia/Seoul"};
};

TEST_F(CDReminderTimeTest, IsDescribedWithTwoDigitsOfTheMinuteAlone) {
  EXPECT_EQ((Time{9, 5}).description(), "9:05");
  EXPECT_EQ((Time{13, 30}).description(), "13:30");
  EXPECT_EQ((Time{0, 0}).description(), "0:00");
  EXPECT_EQ((Time{7, 10}).description(), "7:10");
}

TEST_F(CDReminderTimeTest, IsDescribedAsItIsBeyondTheDay) {
  EXPECT_EQ((Time{25, 61}).description(), "25:61");
  EXPECT_EQ((Time{-1, -5}).description(), "-1:0-5");
}

TEST_F(CDReminderTimeTest, IsReadFromText) {
  EXPECT_EQ(asTime("07:30"), (Time{7, 30}));
  EXPECT_EQ(asTime("00:00"), (Time{0, 0}));
  EXPECT_EQ(asTime("23:59"), (Time{23, 59}));
}

TEST_F(CDReminderTimeTest, IsNineWhenTheTextCannotBeRead) {
  for (const char* text : {"", "7.30", "7:5", "24:00", "07:60", "07:30 ", "someday"}) {
    EXPECT_EQ(asTime(text), (Time{9, 0})) << text;
  }
}

TEST_F(CDReminderTimeTest, IsReadFromItsOwnDescription) {
  for (const Time time : {Time{0, 0}, Time{9, 5}, Time{13, 30}, Time{23, 59}}) {
    EXPECT_EQ(asTime(time.description()), time);
  }
}

TEST_F(CDReminderTimeTest, IsReadInTheUsersDigits) {
  const support::ScopedSettings settings("ar_EG", "Africa/Cairo");

  EXPECT_EQ(asTime("٠٧:٣٠"), (Time{7, 30}));
}

TEST_F(CDReminderTimeTest, IsADateOnTheCalendarsFirstDay) {
  const auto components = Calendar::current().dateComponents((Time{7, 30}).asDate());

  EXPECT_EQ(components.year, 1);
  EXPECT_EQ(components.month, 1);
  EXPECT_EQ(components.day, 1);
  EXPECT_EQ(components.hour, 7);
  EXPECT_EQ(components.minute, 30);
  EXPECT_EQ(components.second, 0);
}

TEST_F(CDReminderTimeTest, ComesBackFromItsDate) {
  EXPECT_EQ(foundation::asString((Time{9, 5}).asDate()), "09:05");
  EXPECT_EQ(asTime(foundation::asString((Time{23, 59}).asDate())), (Time{23, 59}));
}

TEST_F(CDReminderTimeTest, RollsOverBeyondTheDay) {
  const auto components = Calendar::current().dateComponents((Time{25, 61}).asDate());

  EXPECT_EQ(components.day, 2);
  EXPECT_EQ(components.hour, 2);
  EXPECT_EQ(components.minute, 1);
}

TEST_F(CDReminderTimeTest, StopsTheProcessWhenNoCalendarReachesIt) {
  const Time never{std::numeric_limits<std::int64_t>::max(), 0};

  EXPECT_DEATH(static_cast<void>(never.asDate()),
               "Fatal error: no date has the time of day 9223372036854775807:00");
}

}  // namespace
}  // namespace coredatastack
