#include "Foundation/Text/Calendar.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <string>

#include "Foundation/Internal/CivilDay.h"
#include "Foundation/Text/DateFormatter.h"
#include "Foundation/Text/Internal/Environment.h"
#include "Foundation/Text/Internal/IcuCalendar.h"
#include "Tests/Support/ScopedSettings.h"

namespace foundation {
namespace {

using support::ScopedSettings;

std::string written(const std::optional<Date>& date) {
  return date ? DateFormatter("yyyy-MM-dd HH:mm:ss").string(*date) : "none";
}

std::string dateOf(const DateComponents& components) {
  return written(Calendar::current().date(components));
}

TEST(Calendar, GivesTheLocalFieldsOfADate) {
  const ScopedSettings settings("ko_KR", "Asia/Seoul");

  const DateComponents fields = Calendar::current().dateComponents(Date::from1970(1707541507.9));

  EXPECT_EQ(fields, (DateComponents{.era = 1,
                                    .year = 2024,
                                    .month = 2,
                                    .day = 10,
                                    .hour = 14,
                                    .minute = 5,
                                    .second = 7,
                                    .weekday = 7}));
}

TEST(Calendar, GivesTheFieldsOfTheCurrentCalendar) {
  const ScopedSettings settings("fa_IR", "UTC");

  const DateComponents fields = Calendar::current().dateComponents(Date::from1970(1707541507.9));

  EXPECT_EQ(Calendar::current().identifier(), "persian");
  EXPECT_EQ(fields.year, 1402);
  EXPECT_EQ(fields.month, 11);
  EXPECT_EQ(fields.day, 21);
  EXPECT_EQ(fields.hour, 5);
}

TEST(Calendar, TakesMissingFieldsAsTheFirst) {
  const ScopedSettings settings("en_US", "UTC");

  EXPECT_EQ(dateOf({}), "0001-01-01 00:00:00");
  EXPECT_EQ(Calendar::current().date({}), Date::distantPast());
  EXPECT_EQ(dateOf({.year = 2024}), "2024-01-01 00:00:00");
  EXPECT_EQ(dateOf({.hour = 9, .minute = 5}), "0001-01-01 09:05:00");
}

TEST(Calendar, TakesMissingFieldsAsTheFirstInOtherCalendars) {
  const ScopedSettings settings("th_TH", "UTC");

  EXPECT_EQ(dateOf({}), "0001-01-01 00:00:00");
  EXPECT_EQ(dateOf({.year = 2567, .month = 2, .day = 10, .hour = 3}), "2567-02-10 03:00:00");
}

TEST(Calendar, RollsFieldsOver) {
  const ScopedSettings settings("en_US", "UTC");

  EXPECT_EQ(dateOf({.year = 2023, .month = 13}), "2024-01-01 00:00:00");
  EXPECT_EQ(dateOf({.year = 2024, .month = 0}), "2023-12-01 00:00:00");
  EXPECT_EQ(dateOf({.year = 2024, .month = 2, .day = 30}), "2024-03-01 00:00:00");
  EXPECT_EQ(dateOf({.year = 2024, .hour = 25}), "2024-01-02 01:00:00");
  EXPECT_EQ(dateOf({.year = 2024, .minute = -1}), "2023-12-31 23:59:00");
}

TEST(Calendar, RollsFieldsOverInOtherCalendars) {
  const ScopedSettings settings("th_TH", "UTC");

  EXPECT_EQ(dateOf({.year = 2566, .month = 13}), "2567-01-01 00:00:00");
  EXPECT_EQ(dateOf({.year = 2567, .month = 2, .day = 30}), "2567-03-01 00:00:00");
}

TEST(Calendar, HasNoDateForFieldsBeyondReach) {
  for (const std::string_view locale : {"en_US", "th_TH"}) {
    const ScopedSettings settings(locale, "UTC");
    const Calendar calendar = Calendar::current();
    constexpr auto kGreatest = std::numeric_limits<std::int64_t>::max();
    constexpr auto kLeast = std::numeric_limits<std::int64_t>::min();

    EXPECT_EQ(calendar.date({.year = kGreatest}), std::nullopt);
    EXPECT_EQ(calendar.date({.month = kLeast}), std::nullopt);
    EXPECT_EQ(calendar.date({.hour = kGreatest}), std::nullopt);
    EXPECT_NE(calendar.date({.year = 5'000'000, .day = -1'000'000'000}), std::nullopt);
  }
}

TEST(Calendar, ComesBackFromTheFieldsOfADate) {
  std::mt19937_64 random(7);
  std::uniform_int_distribution<std::int64_t> seconds(-80'000'000'000, 20'000'000'000);
  for (const std::string_view locale :
       {"en_US", "th_TH", "fa_IR", "ar_SA", "zh_CN@calendar=chinese", "he_IL@calendar=hebrew",
        "ja_JP@calendar=japanese", "am_ET@calendar=ethiopic"}) {
    const ScopedSettings settings(locale, "UTC");
    const Calendar calendar = Calendar::current();
    for (int i = 0; i < 300; ++i) {
      const Date date = Date::from1970(static_cast<double>(seconds(random)));
      ASSERT_EQ(calendar.date(calendar.dateComponents(date)), date)
          << locale << ' ' << date.description();
    }
  }
}

TEST(Calendar, AgreesWithIcuOnGregorianDays) {
  const ScopedSettings settings("en_US", "UTC");
  std::mt19937_64 random(11);
  std::uniform_int_distribution<std::int64_t> years(-200, 12000);
  std::uniform_int_distribution<std::int64_t> months(-30, 30);
  std::uniform_int_distribution<std::int64_t> days(-100, 100);
  for (int i = 0; i < 20000; ++i) {
    // Half of the years lie about the reform of 1582.
    const std::int64_t year = i % 2 == 0 ? years(random) : 1570 + years(random) % 20;
    const DateComponents fields{.year = year, .month = months(random), .day = days(random)};
    const auto date = Calendar::current().date(fields);
    const std::int64_t day = icuDay(currentEnvironment(), fields);
    ASSERT_EQ(date->timeIntervalSince1970(), static_cast<double>(day) * 86400)
        << *fields.year << ' ' << *fields.month << ' ' << *fields.day;

    DateComponents fromIcu;
    readIcuDay(currentEnvironment(), day, fromIcu);
    const DateComponents own = Calendar::current().dateComponents(*date);
    ASSERT_EQ(own.era, fromIcu.era);
    ASSERT_EQ(own.year, fromIcu.year);
    ASSERT_EQ(own.month, fromIcu.month);
    ASSERT_EQ(own.day, fromIcu.day);
  }
}

TEST(Calendar, MovesATimeThatWasSkippedToTheEndOfTheGap) {
  const ScopedSettings settings("en_US", "America/New_York");

  EXPECT_EQ(dateOf({.year = 2024, .month = 3, .day = 10, .hour = 2, .minute = 30}),
            "2024-03-10 03:00:00");
}

TEST(Calendar, TakesTheEarlierOfTwoEqualTimes) {
  const ScopedSettings settings("en_US", "America/New_York");

  const auto date =
      Calendar::current().date({.year = 2024, .month = 11, .day = 3, .hour = 1, .minute = 30});

  EXPECT_EQ(date->timeIntervalSince1970(), 1730611800);
}

TEST(Calendar, FindsTheStartOfADay) {
  const ScopedSettings settings("en_US", "America/Sao_Paulo");
  const auto evening = DateFormatter("yyyy-MM-dd HH:mm").date("2018-11-04 20:00");

  EXPECT_EQ(written(Calendar::current().startOfDay(*evening)), "2018-11-04 01:00:00");
}

TEST(Calendar, CanBeChosenWhateverTheLocale) {
  const ScopedSettings settings("en_US", "UTC");

  EXPECT_TRUE(Calendar::setCurrent("buddhist"));
  EXPECT_EQ(Calendar::current().identifier(), "buddhist");
  EXPECT_FALSE(Calendar::setCurrent("mayan"));
  EXPECT_EQ(Calendar::current().identifier(), "buddhist");
  EXPECT_TRUE(Calendar::setCurrent(""));
  EXPECT_EQ(Calendar::current().identifier(), "gregorian");
}

}  // namespace
}  // namespace foundation
