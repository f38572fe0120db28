#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "Foundation/Text/Calendar.h"
#include "Foundation/Text/DateFormatter.h"
#include "Tests/Reliability/Time/ZoneTest.h"

namespace {

using foundation::Calendar;
using foundation::DateComponents;
using foundation::DateFormatter;
using support::LibraryZone;

constexpr std::int64_t kDay = 86400;

/// The day, month or year so much later, as the calendar reckons with fields that roll over.
enum class Unit : std::uint8_t { day, month, year };

class ZoneDays : public support::ZoneTest {
 protected:
  /// The first instant of a day that is so much later than the one that has the instant.
  [[nodiscard]] static std::int64_t later(std::int64_t instant, Unit unit, std::int64_t count) {
    const Calendar calendar = Calendar::current();
    DateComponents fields = calendar.dateComponents(dateAt(instant));
    fields.hour = fields.minute = fields.second = std::nullopt;
    auto& field = unit == Unit::day ? fields.day : unit == Unit::month ? fields.month : fields.year;
    field = *field + count;
    return instantOf(calendar.date(fields).value());
  }
  /// The first instants of the days by their keys.
  [[nodiscard]] std::map<std::string, std::int64_t> beginnings() const {
    std::map<std::string, std::int64_t> result;
    for (const LibraryZone::Day& day : days_) result[day.key] = day.begin;
    return result;
  }
  /// How often the clock is changed by less than a whole day.
  [[nodiscard]] std::size_t changesWithinDays() const {
    const auto offset = [&](std::int64_t instant) { return library_.localTime(instant).tm_gmtoff; };
    const auto changes = library_.changes(days_.front().begin, days_.back().end);
    return static_cast<std::size_t>(std::ranges::count_if(
        changes, [&](std::int64_t at) { return (offset(at) - offset(at - 1)) % kDay != 0; }));
  }
  /// As the library's own arithmetic without zones names the day so much later.
  [[nodiscard]] static std::string keyLater(const std::string& key, int days, int months) {
    tm fields{};
    fields.tm_year = std::stoi(key.substr(0, 4)) - 1900;
    fields.tm_mon = std::stoi(key.substr(5, 2)) - 1 + months;
    fields.tm_mday = std::stoi(key.substr(8, 2)) + days;
    ::timegm(&fields);
    char text[16];
    return {text, ::strftime(text, sizeof text, "%Y-%m-%d", &fields)};
  }
};

TEST_P(ZoneDays, BeginWhereTheCLibraryFirstShowsThem) {
  const Calendar calendar = Calendar::current();
  for (const LibraryZone::Day& day : days_) {
    for (const std::int64_t instant : {day.begin, (day.begin + day.end) / 2, day.end - 1}) {
      ASSERT_EQ(instantOf(calendar.startOfDay(dateAt(instant))), day.begin) << day.key;
    }
  }
}

TEST_P(ZoneDays, AreReadFromTheirKeysAtTheirFirstInstant) {
  const DateFormatter formatter("yyyy-MM-dd");
  for (const LibraryZone::Day& day : days_) {
    const auto read = formatter.date(day.key);
    ASSERT_TRUE(read) << day.key;
    ASSERT_EQ(instantOf(*read), day.begin) << day.key;
  }
}

TEST_P(ZoneDays, FollowOneAnotherWhateverTheirLength) {
  std::size_t changed = 0;
  for (const LibraryZone::Day& day : days_) {
    ASSERT_EQ(later(day.begin, Unit::day, 1), day.end) << day.key;
    if (day.end - day.begin != kDay) ++changed;
  }
  EXPECT_EQ(changed, changesWithinDays());
}

TEST_P(ZoneDays, MakeWeeksMonthsAndYearsOfTheRightLength) {
  const auto beginnings = this->beginnings();
  const auto expectLater = [&](const LibraryZone::Day& day, Unit unit, const std::string& key) {
    const auto expected = beginnings.find(key);
    // Past the end, and on the day that its zone never had.
    if (expected == beginnings.end()) return;
    const std::int64_t count = unit == Unit::day ? 7 : 1;
    ASSERT_EQ(later(day.begin, unit, count), expected->second) << day.key << " to " << key;
  };
  for (const LibraryZone::Day& day : days_) {
    expectLater(day, Unit::day, keyLater(day.key, 7, 0));
    expectLater(day, Unit::month, keyLater(day.key, 0, 1));
    expectLater(day, Unit::year, keyLater(day.key, 0, 12));
  }
}

TEST_P(ZoneDays, HaveTheWeekdaysThatTheCLibraryGivesThem) {
  const Calendar calendar = Calendar::current();
  for (const LibraryZone::Day& day : days_) {
    ASSERT_EQ(calendar.dateComponents(dateAt(day.begin)).weekday, day.weekday + 1) << day.key;
    ASSERT_EQ(calendar.dateComponents(dateAt(day.end - 1)).weekday, day.weekday + 1) << day.key;
  }
}

INSTANTIATE_TEST_SUITE_P(Zones, ZoneDays, testing::ValuesIn(support::testedZones()),
                         support::nameOfZone);

}  // namespace
