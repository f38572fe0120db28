#include "Foundation/Internal/CivilDay.h"

#include <gtest/gtest.h>

namespace {

using foundation::civil::gregorianDay;
using foundation::civil::nearGregorianDay;

TEST(CivilDay, TheQuickReckoningGivesTheSameDays) {
  constexpr std::int64_t kFirst = -719468;
  constexpr std::int64_t kEnd = foundation::daysFromCivil(10000, 1, 1);
  constexpr std::int64_t kEndOfAll = kFirst + 2'000'000 * std::int64_t{146097} / 400;

  for (std::int64_t day = kFirst; day < kEnd; ++day) {
    ASSERT_EQ(nearGregorianDay(day), gregorianDay(day)) << day;
  }
  for (std::int64_t day = kEnd; day < kEndOfAll; day += 997) {
    ASSERT_EQ(nearGregorianDay(day), gregorianDay(day)) << day;
  }
}

}  // namespace
