#include "Foundation/Values/Date.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <limits>

#include "Foundation/Internal/CivilDay.h"

namespace foundation {
namespace {

TEST(Date, DescribesItselfInUniversalTimeWithoutTheFraction) {
  EXPECT_EQ(Date::from1970(1707541507.9).description(), "2024-02-10 05:05:07 +0000");
}

TEST(Date, RoundsDownBeforeTheReferenceDateToo) {
  EXPECT_EQ(Date::fromReference(-0.25).description(), "2000-12-31 23:59:59 +0000");
}

TEST(Date, DescribesTheDistantPastInTheJulianCalendar) {
  EXPECT_EQ(Date::distantPast().description(), "0001-01-01 00:00:00 +0000");
  EXPECT_EQ(Date::distantPast().timeIntervalSince1970(), -62135769600.0);
}

TEST(Date, DescribesTheDaysOnBothSidesOfTheGregorianReform) {
  const Date reform = Date::from1970(static_cast<double>(kGregorianCutover) * 86400);

  EXPECT_EQ(reform.description(), "1582-10-15 00:00:00 +0000");
  EXPECT_EQ(reform.addingTimeInterval(-1).description(), "1582-10-04 23:59:59 +0000");
}

TEST(Date, DescribesYearsOfFiveDigits) {
  EXPECT_EQ(Date::from1970(400000000000).description(), "14645-06-30 15:06:40 +0000");
}

TEST(Date, DescribesWhatHasNoDayAsSeconds) {
  EXPECT_EQ(Date::fromReference(std::numeric_limits<double>::infinity()).description(), "inf s");
  EXPECT_EQ(Date::fromReference(std::numeric_limits<double>::quiet_NaN()).description(), "nan s");
}

TEST(Date, KeepsAllItsBits) {
  const double seconds = std::bit_cast<double>(std::uint64_t{0x41C7'3A5B'9D3E'7F01});

  EXPECT_EQ(
      std::bit_cast<std::uint64_t>(Date::fromReference(seconds).timeIntervalSinceReferenceDate()),
      0x41C7'3A5B'9D3E'7F01U);
}

TEST(CivilDay, ComesBackFromEveryDayOfTwelveThousandYears) {
  CivilDay previous = civilDay(-719164 - 366);
  for (std::int64_t days = -719164 - 365; days < 365 * 10000; ++days) {
    const CivilDay day = civilDay(days);
    ASSERT_EQ(daysFromCivil(day.year, day.month, day.day), days);
    ASSERT_NE(day, previous);
    previous = day;
  }
}

TEST(CivilDay, CountsDaysBeyondTheMonthIntoTheNext) {
  EXPECT_EQ(civilDay(daysFromCivil(2024, 2, 30)), (CivilDay{2024, 3, 1}));
  EXPECT_EQ(civilDay(daysFromCivil(2023, 12, 32)), (CivilDay{2024, 1, 1}));
  EXPECT_EQ(civilDay(daysFromCivil(2024, 3, 0)), (CivilDay{2024, 2, 29}));
}

}  // namespace
}  // namespace foundation
