#include "Foundation/Text/DateFormatter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <optional>
#include <string>

#include "Foundation/Text/DayKey.h"
#include "Tests/Support/ScopedSettings.h"

namespace foundation {
namespace {

using support::ScopedSettings;

// 2024-02-10 05:05:07 in UTC, 14:05:07 in Seoul.
constexpr Date kMoment = Date::from1970(1707541507.9);

std::string written(std::string_view pattern, const Date& date = kMoment) {
  return DateFormatter(pattern).string(date);
}
std::optional<Date> parsed(std::string_view pattern, std::string_view text) {
  return DateFormatter(pattern).date(text);
}

/// What a key parses to, in whole seconds since 1970.
std::optional<double> secondsOfDay(std::string_view text) {
  const auto date = parsed("yyyy-MM-dd", text);
  if (!date) return std::nullopt;
  return date->timeIntervalSince1970();
}

TEST(DateFormatter, WritesTheLocalDayInItsGranularities) {
  const ScopedSettings settings("ko_KR", "Asia/Seoul");

  EXPECT_EQ(written("yyyy"), "2024");
  EXPECT_EQ(written("yyyy-MM"), "2024-02");
  EXPECT_EQ(written("yyyy-MM-dd"), "2024-02-10");
  EXPECT_EQ(written("HH:mm"), "14:05");
}

TEST(DateFormatter, WritesInTheLocalesDigitsAndCalendar) {
  const auto dayIn = [](std::string_view locale) {
    const ScopedSettings settings(locale, "UTC");
    return written("yyyy-MM-dd");
  };

  EXPECT_EQ(dayIn("en_US"), "2024-02-10");
  EXPECT_EQ(dayIn("ko_KR"), "2024-02-10");
  EXPECT_EQ(dayIn("ar_EG"), "٢٠٢٤-٠٢-١٠");
  EXPECT_EQ(dayIn("th_TH"), "2567-02-10");
  EXPECT_EQ(dayIn("fa_IR"), "۱۴۰۲-۱۱-۲۱");
  EXPECT_EQ(dayIn("ar_SA"), "١٤٤٥-٠٧-٢٩");
}

TEST(DateFormatter, WritesTheMonthAsTheDayKeysBeginning) {
  for (const std::string_view locale : {"en_US", "ar_EG", "th_TH", "fa_IR", "ar_SA"}) {
    const ScopedSettings settings(locale, "UTC");
    EXPECT_TRUE(written("yyyy-MM-dd").starts_with(written("yyyy-MM"))) << locale;
  }
}

TEST(DateFormatter, WritesTheTimeInTheLocalesDigits) {
  const ScopedSettings settings("ar_EG", "UTC");

  EXPECT_EQ(asString(kMoment), "٠٥:٠٥");
}

TEST(DateFormatter, WritesTwentyFourHoursWhateverTheLocalePrefers) {
  const ScopedSettings settings("en_US", "UTC");

  EXPECT_EQ(asString(Date::from1970(0)), "00:00");
  EXPECT_EQ(asString(Date::from1970(86399)), "23:59");
  EXPECT_EQ(asString(Date::from1970(-60)), "23:59");
}

TEST(DateFormatter, WritesAtLeastFourDigitsOfAYear) {
  const ScopedSettings settings("en_US", "UTC");

  EXPECT_EQ(written("yyyy-MM-dd", Date::distantPast()), "0001-01-01");
  EXPECT_EQ(written("yyyy-MM-dd", Date::distantPast().addingTimeInterval(-1)), "0001-12-31");
  EXPECT_EQ(written("yyyy-MM-dd", Date::from1970(400000000000)), "14645-06-30");
}

TEST(DateFormatter, WritesDatesBeyondAllCalendars) {
  const ScopedSettings settings("en_US", "UTC");

  EXPECT_EQ(written("yyyy", Date::fromReference(std::numeric_limits<double>::quiet_NaN())), "2001");
  EXPECT_EQ(written("yyyy", Date::fromReference(1e300)).size(), 7U);
  EXPECT_EQ(written("yyyy", Date::fromReference(-1e300)).size(), 7U);
}

TEST(DateFormatter, DoesNotRoundTheLastInstantOfADayIntoTheNext) {
  const ScopedSettings settings("en_US", "UTC");
  const double midnight = 729216000;  // 2024-02-10 00:00:00 UTC from the reference date
  const Date before = Date::fromReference(std::nextafter(midnight, 0));

  EXPECT_EQ(written("yyyy-MM-dd", before), "2024-02-09");
  EXPECT_EQ(written("yyyy-MM-dd HH:mm:ss.SSS", before), "2024-02-09 23:59:59.999");
  EXPECT_EQ(written("yyyy-MM-dd", Date::fromReference(midnight)), "2024-02-10");
}

TEST(DateFormatter, WritesAnyOtherPattern) {
  const ScopedSettings settings("ko_KR", "Asia/Seoul");

  EXPECT_EQ(written("yyyy년 M월 d일 EEEE a h:mm"), "2024년 2월 10일 토요일 오후 2:05");
  EXPECT_EQ(written("yyyy-MM-dd'T'HH:mm:ssXXX"), "2024-02-10T14:05:07+09:00");
}

TEST(DateFormatter, TakesTheSettingsInForceWhenItIsMade) {
  const ScopedSettings settings("en_US", "America/Los_Angeles");
  const DateFormatter before("yyyy-MM-dd");
  TimeZone::setCurrent(*TimeZone::named("Asia/Seoul"));

  EXPECT_EQ(before.string(kMoment), "2024-02-09");
  EXPECT_EQ(written("yyyy-MM-dd"), "2024-02-10");
}

TEST(DateFormatter, ParsesADayToItsLocalMidnight) {
  const ScopedSettings settings("ko_KR", "Asia/Seoul");

  EXPECT_EQ(secondsOfDay("2024-02-10"), 1707490800);
  EXPECT_EQ(parsed("yyyy-MM", "2024-02")->timeIntervalSince1970(), 1706713200);
  EXPECT_EQ(parsed("yyyy", "2024")->timeIntervalSince1970(), 1704034800);
}

TEST(DateFormatter, RefusesWhatIsNoDayKey) {
  const ScopedSettings settings("en_US", "UTC");

  for (const std::string_view text : {"",
                                      "2024-2-3",
                                      "2024/02/03",
                                      "20240203",
                                      "2024-02-30",
                                      "2024-13-01",
                                      "2024-00-10",
                                      "2024-01-00",
                                      "0000-01-01",
                                      "24-02-03",
                                      "2024-02-10 ",
                                      " 2024-02-10",
                                      "2024-02-10T00",
                                      "2024- 2-10",
                                      "-2024-02-10",
                                      "+2024-02-10",
                                      "02024-02-10",
                                      "2024-02-1O",
                                      "2023-02-29",
                                      "1582-10-10",
                                      "2024-02",
                                      "2024-02-10\n",
                                      "9999999999999-01-01"}) {
    EXPECT_EQ(parsed("yyyy-MM-dd", text), std::nullopt) << '"' << text << '"';
  }
}

TEST(DateFormatter, ParsesTheDaysAroundTheGregorianReform) {
  const ScopedSettings settings("en_US", "UTC");

  EXPECT_EQ(*secondsOfDay("1582-10-15") - *secondsOfDay("1582-10-04"), 86400);
  EXPECT_EQ(parsed("yyyy-MM-dd", "0001-01-01"), Date::distantPast());
  EXPECT_TRUE(secondsOfDay("12345-06-07"));
}

TEST(DateFormatter, ParsesTimesOfDay) {
  const ScopedSettings settings("en_US", "Asia/Seoul");

  for (const auto& [text, again] :
       {std::pair("07:30", "07:30"), {"9:05", "09:05"}, {"23:59", "23:59"}, {"0:00", "00:00"}}) {
    const auto date = parsed("HH:mm", text);
    ASSERT_TRUE(date) << text;
    EXPECT_EQ(asString(*date), again);
  }
}

TEST(DateFormatter, RefusesWhatIsNoTimeOfDay) {
  const ScopedSettings settings("en_US", "UTC");

  for (const std::string_view text :
       {"7.30", "", "7:5", "07:3", "24:00", "23:60", "-1:30", "+7:30", " 07:30", "07:30 ", "007:30",
        "07:30x", "07:300", ":30", "07:", "07 :30"}) {
    EXPECT_EQ(parsed("HH:mm", text), std::nullopt) << '"' << text << '"';
  }
}

TEST(DateFormatter, ParsesTimesThatTodayMayLack) {
  // Half past two has been skipped once a year there, though never on the calendar's first day.
  const ScopedSettings settings("en_US", "America/New_York");

  EXPECT_EQ(asString(parsed("HH:mm", "02:30").value()), "02:30");
}

TEST(DateFormatter, ParsesTheLocalesDigitsAndLatinOnes) {
  const ScopedSettings settings("ar_EG", "UTC");

  EXPECT_EQ(secondsOfDay("٢٠٢٤-٠٢-١٠"), 1707523200);
  EXPECT_EQ(secondsOfDay("2024-02-10"), 1707523200);
  EXPECT_TRUE(parsed("HH:mm", "٠٧:٣٠"));
  EXPECT_EQ(secondsOfDay("२०२४-०२-१०"), std::nullopt);
}

TEST(DateFormatter, ParsesWhatItWroteInOtherCalendars) {
  for (const std::string_view locale :
       {"th_TH", "fa_IR", "ar_SA", "ja_JP@calendar=japanese", "he_IL@calendar=hebrew",
        "am_ET@calendar=ethiopic", "hi_IN@calendar=indian"}) {
    const ScopedSettings settings(locale, "UTC");
    EXPECT_EQ(secondsOfDay(written("yyyy-MM-dd")), 1707523200) << locale;
  }
}

TEST(DateFormatter, IsAsStrictInOtherCalendars) {
  const ScopedSettings settings("th_TH", "UTC");

  for (const std::string_view text :
       {"", "2567-2-3", "2567-02-30", "2567-13-01", "2567-00-10", " 2567-02-10", "2567-02-10 ",
        "2567-02-10x", "67-02-10", "0000-01-01"}) {
    EXPECT_EQ(parsed("yyyy-MM-dd", text), std::nullopt) << '"' << text << '"';
  }
}

TEST(DateFormatter, ParsesNoPatternThatNamesAZone) {
  const ScopedSettings settings("en_US", "UTC");

  EXPECT_EQ(parsed("HH:mm XXX", "07:30 +09:00"), std::nullopt);
  EXPECT_EQ(parsed("z HH:mm", "GMT 07:30"), std::nullopt);
  EXPECT_EQ(parsed("'z' z HH:mm", "z GMT 07:30"), std::nullopt);
  EXPECT_EQ(parsed("yyyy MM dd 'z' ", "2024 02 10 z "), parsed("yyyy-MM-dd", "2024-02-10"));
}

struct DayWithoutMidnight {
  const char* zone;
  const char* day;
  double firstInstant;
};

TEST(DateFormatter, GivesTheFirstInstantOfADayWithoutMidnight) {
  for (const auto& [zone, day, firstInstant] : {
           DayWithoutMidnight{"America/Sao_Paulo", "2018-11-04", 1541300400},
           DayWithoutMidnight{"Asia/Beirut", "2024-03-31", 1711836000},
           DayWithoutMidnight{"Africa/Cairo", "2024-04-26", 1714082400},
           DayWithoutMidnight{"America/Havana", "2024-03-10", 1710046800},
       }) {
    const ScopedSettings settings("en_US", zone);
    ASSERT_EQ(secondsOfDay(day), firstInstant) << zone;
    EXPECT_EQ(written("yyyy-MM-dd HH:mm", Date::from1970(firstInstant)),
              std::string(day) + " 01:00");
    EXPECT_NE(written("yyyy-MM-dd", Date::from1970(firstInstant - 1)), day);
  }
}

TEST(DateFormatter, GivesTheEarlierOfTwoMidnights) {
  // The clock went from 01:00 back to 00:00 there.
  const ScopedSettings settings("en_US", "America/Havana");

  const auto date = parsed("yyyy-MM-dd", "2024-11-03");

  ASSERT_TRUE(date);
  EXPECT_EQ(date->timeIntervalSince1970(), 1730606400);
  EXPECT_EQ(written("HH:mm", date->addingTimeInterval(3600)), "00:00");
}

TEST(DateFormatter, KeepsADayThatItsZoneNeverHad) {
  // Apia went from 2011-12-29 straight to 2011-12-31; a key of the day between was written
  // elsewhere.
  const ScopedSettings settings("en_US", "Pacific/Apia");

  EXPECT_EQ(parsed("yyyy-MM-dd", "2011-12-30"), parsed("yyyy-MM-dd", "2011-12-31"));
}

TEST(DateFormatter, ReckonsWithTheSystemsZoneRules) {
  // Half past midnight in Cairo, which took up summer time again in 2023; ICU's own data do not
  // know.
  const ScopedSettings settings("en_US", "Africa/Cairo");
  const Date date = Date::from1970(1784064600);

  EXPECT_EQ(written("yyyy-MM-dd HH:mm", date), "2026-07-15 00:30");
  EXPECT_EQ(DayKey(date).text(), "2026-07-15");
}

TEST(DateFormatter, ReckonsWithOffsetsOfHalfHours) {
  const ScopedSettings settings("en_US", "Australia/Lord_Howe");

  EXPECT_EQ(written("yyyy-MM-dd HH:mm", Date::from1970(1707541507)), "2024-02-10 16:05");
  EXPECT_EQ(written("yyyy-MM-dd HH:mm", Date::from1970(1720000000)), "2024-07-03 20:16");
}

}  // namespace
}  // namespace foundation
