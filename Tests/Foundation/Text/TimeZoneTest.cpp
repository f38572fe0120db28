#include "Foundation/Text/TimeZone.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdlib>
#include <string>

#include "Foundation/Text/DayKey.h"
#include "Foundation/Text/Internal/ZoneRules.h"
#include "Tests/Foundation/Text/ZoneSamples.h"
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

constexpr const char* kZones[] = {"Asia/Seoul",   "America/New_York",    "America/Sao_Paulo",
                                  "Africa/Cairo", "Africa/Casablanca",   "Asia/Beirut",
                                  "Asia/Gaza",    "Australia/Lord_Howe", "Europe/Dublin",
                                  "Pacific/Apia", "Asia/Kathmandu",      "Antarctica/Troll"};

TEST(TimeZoneDeathTest, AgreesWithLibcOverThreeCenturies) {
  for (const char* zone : kZones) {
    EXPECT_EXIT(exitAfterComparingWithLibc(zone, 20000), testing::ExitedWithCode(0), "^$") << zone;
  }
}

TEST(ZoneRules, FindTheInstantOfEveryLocalTimeAroundChangesOfTheClock) {
  for (const char* zone : kZones) EXPECT_EQ(differenceInLocalTimes(zone), "") << zone;
}

}  // namespace
}  // namespace foundation
