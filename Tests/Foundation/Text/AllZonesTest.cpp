#include <gtest/gtest.h>
#include <unicode/locid.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "Foundation/Text/DateFormatter.h"
#include "Foundation/Text/DayKey.h"
#include "Foundation/Text/Internal/IcuFormat.h"
#include "Tests/Foundation/Text/ZoneSamples.h"
#include "Tests/Support/ScopedSettings.h"

namespace foundation {
namespace {

/// The names of all zones of the system.
std::vector<std::string> allZones() {
  const std::filesystem::path directory = "/usr/share/zoneinfo";
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
    const std::string name = entry.path().lexically_relative(directory);
    // "posix" and "right" hold all zones once more, the latter with leap seconds that no clock of
    // ours counts.
    const bool isCopy =
        name.starts_with("posix") || name.starts_with("right") || name == "localtime";
    if (entry.is_regular_file() && !isCopy && ZoneRules::named(name) != nullptr)
      names.push_back(name);
  }
  return names;
}

TEST(AllZonesDeathTest, AgreeWithLibc) {
  const auto zones = allZones();
  ASSERT_GT(zones.size(), 400U);
  for (const std::string& zone : zones) {
    EXPECT_EXIT(exitAfterComparingWithLibc(zone, 20000), testing::ExitedWithCode(0), "^$") << zone;
  }
}

TEST(AllZones, FindTheInstantOfEveryLocalTimeAroundChangesOfTheClock) {
  for (const std::string& zone : allZones()) EXPECT_EQ(differenceInLocalTimes(zone), "") << zone;
}

TEST(AllZones, GiveTheDayKeysThatIcuWrites) {
  std::mt19937_64 random(2);
  for (const std::string& zone : allZones()) {
    const support::ScopedSettings settings("en_US", zone);
    for (int i = 0; i < 1000; ++i) {
      const Date date = Date::from1970(static_cast<double>(sampleInstant(random)));
      ASSERT_EQ(DayKey(date).text(), icuFormat(currentEnvironment(), "yyyy-MM-dd", date))
          << zone << ' ' << date.timeIntervalSince1970();
    }
  }
}

TEST(AllLocales, WriteAndReadTheSameDays) {
  std::int32_t count = 0;
  const icu::Locale* locales = icu::Locale::getAvailableLocales(count);
  ASSERT_GT(count, 500);
  std::mt19937_64 random(3);
  for (std::int32_t i = 0; i < count; ++i) {
    const support::ScopedSettings settings(locales[i].getName(), "America/Sao_Paulo");
    const DateFormatter formatter("yyyy-MM-dd");
    for (int day = 0; day < 50; ++day) {
      const Date date = Date::from1970(static_cast<double>(sampleInstant(random)));
      const std::string key = DayKey(date).string();
      ASSERT_EQ(key, icuFormat(currentEnvironment(), "yyyy-MM-dd", date)) << locales[i].getName();
      ASSERT_EQ(asString(date), icuFormat(currentEnvironment(), "HH:mm", date))
          << locales[i].getName();
      const auto read = formatter.date(key);
      ASSERT_TRUE(read) << locales[i].getName() << ' ' << key;
      ASSERT_EQ(formatter.string(*read), key) << locales[i].getName();
    }
  }
}

}  // namespace
}  // namespace foundation
