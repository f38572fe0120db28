#include "Foundation/Text/TimeZone.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <time.h>

#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>

#include "Foundation/Text/DayKey.h"
#include "Foundation/Text/Internal/ZoneRules.h"
#include "Tests/Support/ScopedSettings.h"

namespace foundation {
namespace {

TEST(TimeZone, IsNamedAsTheSystemsZoneFiles) {
  ASSERT_TRUE(TimeZone::named("Asia/Seoul"));
  EXPECT_EQ(TimeZone::named("Asia/Seoul")->identifier(), "Asia/Seoul");
  EXPECT_EQ(TimeZone::named("Asia/Seoul")->secondsFromGMT(Date::from1970(1707541507)), 9 * 3600);
}

TEST(TimeZone, HasNoZoneForNamesThatLeadElsewhere) {
  for (const std::string_view name :
       {"", "Asia/Nowhere", "Asia", "../../../etc/passwd", "/usr/share/zoneinfo/UTC", "Asia/Seoul ",
        "tzdata.zi", "Asia/../UTC"}) {
    EXPECT_EQ(TimeZone::named(name), std::nullopt) << name;
  }
}

TEST(TimeZone, TakesEffectBetweenTwoCalls) {
  const support::ScopedSettings settings("en_US", "America/Los_Angeles");
  const Date date = Date::from1970(1707541507);
  EXPECT_EQ(DayKey(date).text(), "2024-02-09");

  TimeZone::setCurrent(TimeZone::utc());

  EXPECT_EQ(DayKey(date).text(), "2024-02-10");
}

TEST(TimeZone, EqualsItselfWhenAskedForAgain) {
  EXPECT_EQ(TimeZone::named("Asia/Seoul"), TimeZone::named("Asia/Seoul"));
  EXPECT_NE(TimeZone::named("Asia/Seoul"), TimeZone::named("Asia/Tokyo"));
}

TEST(TimeZone, ReadsItsRulesAnewWhenToldTo) {
  const support::ScopedSettings settings("en_US", "Asia/Seoul");
  const TimeZone before = TimeZone::current();

  TimeZone::reload();

  EXPECT_NE(TimeZone::current(), before);
  EXPECT_EQ(TimeZone::current().identifier(), "Asia/Seoul");
  EXPECT_EQ(TimeZone::current().secondsFromGMT(Date()), before.secondsFromGMT(Date()));
}

/// What a new process takes its zone from, told through its exit status.
void exitWithOffsetUnder(const char* setting) {
  ::setenv("TZ", setting, 1);
  std::_Exit(static_cast<int>(ZoneRules::ofSystem().offsetAt(1707541507) / 3600));
}

TEST(TimeZoneDeathTest, ComesFromTheEnvironment) {
  EXPECT_EXIT(exitWithOffsetUnder("Asia/Seoul"), testing::ExitedWithCode(9), "^$");
  EXPECT_EXIT(exitWithOffsetUnder(":Asia/Seoul"), testing::ExitedWithCode(9), "^$");
  EXPECT_EXIT(exitWithOffsetUnder("/usr/share/zoneinfo/Asia/Seoul"), testing::ExitedWithCode(9),
              "^$");
  EXPECT_EXIT(exitWithOffsetUnder(""), testing::ExitedWithCode(0), "^$");
}

TEST(TimeZoneDeathTest, IsUniversalTimeWhenTheEnvironmentNamesNoZone) {
  EXPECT_EXIT(exitWithOffsetUnder("Nowhere/Land"), testing::ExitedWithCode(0),
              "^the time zone \"Nowhere/Land\" cannot be read; days are reckoned in UTC\n$");
}

/// Compares with libc, which must be told the zone through the environment: in a process of its
/// own.
void exitAfterComparingWithLibc(const char* zone) {
  ::setenv("TZ", zone, 1);
  ::tzset();
  const ZoneRules* rules = ZoneRules::named(zone);
  std::mt19937_64 random(1);
  // From 1890, before the table and most zones' first rules, to 2250, behind both.
  std::uniform_int_distribution<std::int64_t> instants(-2'524'521'600, 8'836'000'000);
  for (int i = 0; i < 20000; ++i) {
    const std::int64_t instant = instants(random);
    const time_t time = instant;
    tm local{};
    ::localtime_r(&time, &local);
    if (rules->offsetAt(instant) != local.tm_gmtoff) {
      std::fprintf(stderr, "%s at %lld", zone, static_cast<long long>(instant));
      std::_Exit(1);
    }
  }
  std::_Exit(0);
}

TEST(TimeZoneDeathTest, AgreesWithLibcOverThreeCenturies) {
  for (const char* zone : {"Asia/Seoul", "America/New_York", "America/Sao_Paulo", "Africa/Cairo",
                           "Africa/Casablanca", "Asia/Beirut", "Asia/Gaza", "Australia/Lord_Howe",
                           "Europe/Dublin", "Pacific/Apia", "Asia/Kathmandu", "Antarctica/Troll"}) {
    EXPECT_EXIT(exitAfterComparingWithLibc(zone), testing::ExitedWithCode(0), "^$") << zone;
  }
}

}  // namespace
}  // namespace foundation
