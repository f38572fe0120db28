#include <gtest/gtest.h>

#include "Foundation/Text/Calendar.h"
#include "Foundation/Text/DateFormatter.h"
#include "Foundation/Text/DayKey.h"
#include "Tests/Reliability/Time/LibraryZone.h"
#include "Tests/Reliability/Time/ZoneTest.h"
#include "Tests/Support/Effort.h"

namespace {

using foundation::Date;
using foundation::DayKey;
using support::kFirstInstant;
using support::kLastInstant;
using support::LibraryZone;

constexpr std::int64_t kHour = 3600;

class ZoneHours : public support::ZoneTest {
 protected:
  /// What we and the C library write of an instant, when that is not the same.
  [[nodiscard]] std::string differenceAt(std::int64_t instant) const {
    const Date date = dateAt(instant);
    const DayKey key(date);
    const std::string ours = key.string() + ' ' + std::string(key.month()) + ' ' +
                             std::string(key.year()) + ' ' + foundation::asString(date);
    const std::string theirs = library_.written("%Y-%m-%d %Y-%m %Y %H:%M", instant);
    return ours == theirs ? "" : ours + " but " + theirs + " at " + std::to_string(instant);
  }
};

TEST_P(ZoneHours, AreWrittenAsTheCLibraryWritesThem) {
  // Five hours meet every hour of the day.
  const auto step = static_cast<std::int64_t>(support::tries(5, 1)) * kHour;
  for (std::int64_t instant = kFirstInstant; instant < kLastInstant; instant += step) {
    ASSERT_EQ(differenceAt(instant), "");
  }
}

TEST_P(ZoneHours, AreWrittenAsTheCLibraryWritesThemToTheSecondOfAChange) {
  for (const std::int64_t change : library_.changes(kFirstInstant, kLastInstant)) {
    for (const std::int64_t shift : {-kHour, -61L, -1L, 0L, 1L, 59L, kHour - 1, kHour}) {
      ASSERT_EQ(differenceAt(change + shift), "");
    }
  }
}

TEST_P(ZoneHours, BringNoEarlierDayUnlessTheClockIsPutBack) {
  std::string last;
  long lastOffset = 0;
  for (std::int64_t instant = kFirstInstant; instant < kLastInstant; instant += kHour) {
    const std::string key = DayKey(dateAt(instant)).string();
    const long offset = library_.localTime(instant).tm_gmtoff;
    ASSERT_TRUE(key >= last || offset < lastOffset) << last << ", then " << key;
    last = key;
    lastOffset = offset;
  }
}

TEST_P(ZoneHours, BelongToTheYearOfTheirDayAndNotOfItsWeek) {
  int weeksOfAnotherYear = 0;
  for (const LibraryZone::Day& day : days_) {
    const std::string year = library_.written("%Y", day.begin);
    if (library_.written("%G", day.begin) != year) ++weeksOfAnotherYear;
    ASSERT_EQ(DayKey(dateAt(day.begin)).year(), year) << day.key;
    ASSERT_EQ(DayKey(dateAt(day.end - 1)).year(), year) << day.key;
  }
  // Otherwise no year would have told the two apart.
  EXPECT_GT(weeksOfAnotherYear, 31);
}

INSTANTIATE_TEST_SUITE_P(Zones, ZoneHours, testing::ValuesIn(support::testedZones()),
                         support::nameOfZone);

}  // namespace
