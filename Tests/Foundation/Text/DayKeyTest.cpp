#include "Foundation/Text/DayKey.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "Foundation/Text/DateFormatter.h"
#include "Foundation/Text/Internal/IcuFormat.h"
#include "Tests/Foundation/Text/ZoneSamples.h"
#include "Tests/Support/ScopedSettings.h"

namespace foundation {
namespace {

using support::ScopedSettings;

constexpr Date kEvening = Date::from1970(1707541507.9);

TEST(DayKey, IsTheLocalDay) {
  const ScopedSettings settings("ko_KR", "Asia/Seoul");

  const DayKey key(kEvening);

  EXPECT_EQ(key.text(), "2024-02-10");
  EXPECT_EQ(key.month(), "2024-02");
  EXPECT_EQ(key.year(), "2024");
}

TEST(DayKey, FollowsTheSettings) {
  const ScopedSettings settings("ko_KR", "Asia/Seoul");
  EXPECT_EQ(DayKey(kEvening).text(), "2024-02-10");

  TimeZone::setCurrent(*TimeZone::named("America/Los_Angeles"));
  EXPECT_EQ(DayKey(kEvening).text(), "2024-02-09");

  Locale::setCurrent(Locale("th_TH"));
  EXPECT_EQ(DayKey(kEvening).text(), "2567-02-09");

  Calendar::setCurrent("gregorian");
  EXPECT_EQ(DayKey(kEvening).text(), "2024-02-09");
}

TEST(DayKey, HoldsTheLongestDigits) {
  const ScopedSettings settings("ff_Adlm_GN", "UTC");

  const DayKey key(Date::fromReference(1e300));

  EXPECT_EQ(key.text(), DateFormatter("yyyy-MM-dd").string(Date::fromReference(1e300)));
  EXPECT_EQ(key.year(), DateFormatter("yyyy").string(Date::fromReference(1e300)));
}

TEST(DayKey, CutsMonthAndYearAsTheirPatternsWriteThem) {
  for (const std::string_view locale :
       {"en_US", "ar_EG", "th_TH", "fa_IR", "ar_SA", "zh_CN@calendar=chinese",
        "he_IL@calendar=hebrew", "ja_JP@calendar=japanese", "my_MM", "bn_BD"}) {
    const ScopedSettings settings(locale, "UTC");
    const Environment& environment = currentEnvironment();
    for (int i = 0; i < 400; ++i) {
      const Date date = kEvening.addingTimeInterval(i * 86400.0 * 11);
      const DayKey key(date);
      ASSERT_EQ(key.text(), icuFormat(environment, "yyyy-MM-dd", date)) << locale;
      ASSERT_EQ(key.month(), icuFormat(environment, "yyyy-MM", date)) << locale;
      ASSERT_EQ(key.year(), icuFormat(environment, "yyyy", date)) << locale;
    }
  }
}

TEST(DayKey, AgreesWithIcuOverZonesYearsAndLocales) {
  std::mt19937_64 random(20240210);
  for (const std::string_view locale : {"en_US", "ko_KR", "de_DE"}) {
    for (const std::string_view zone :
         {"UTC", "Asia/Seoul", "America/Sao_Paulo", "Asia/Beirut", "Africa/Cairo", "Pacific/Apia",
          "Australia/Lord_Howe", "America/St_Johns", "Africa/Casablanca", "Europe/Dublin",
          "Asia/Kathmandu", "Antarctica/Troll"}) {
      const ScopedSettings settings(locale, zone);
      for (int i = 0; i < 300; ++i) {
        const Date date = Date::from1970(static_cast<double>(sampleInstant(random)));
        ASSERT_EQ(DayKey(date).text(), icuFormat(currentEnvironment(), "yyyy-MM-dd", date))
            << locale << ' ' << zone << ' ' << date.timeIntervalSince1970();
        ASSERT_EQ(asString(date), icuFormat(currentEnvironment(), "HH:mm", date))
            << locale << ' ' << zone << ' ' << date.timeIntervalSince1970();
      }
    }
  }
}

TEST(DayKey, AgreesWithIcuFromTheFirstYearToTheTwelveThousandth) {
  const ScopedSettings settings("en_US", "Europe/Rome");
  std::mt19937_64 random(1582);
  std::uniform_real_distribution<double> seconds(-62'135'769'600, 316'000'000'000);
  for (int i = 0; i < 20000; ++i) {
    const Date date = Date::from1970(seconds(random));
    ASSERT_EQ(DayKey(date).text(), icuFormat(currentEnvironment(), "yyyy-MM-dd", date))
        << date.timeIntervalSince1970();
  }
}

}  // namespace
}  // namespace foundation
