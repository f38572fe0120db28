#include "Foundation/Values/NSNumber.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace foundation {
namespace {

constexpr auto kGreatest = std::numeric_limits<std::int64_t>::max();
constexpr auto kLeast = std::numeric_limits<std::int64_t>::min();
constexpr double kTwoTo63 = 9223372036854775808.0;
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(NSNumber, EqualsByValueAcrossKinds) {
  EXPECT_EQ(NSNumber(1), NSNumber(1.0));
  EXPECT_EQ(NSNumber(1), NSNumber(true));
  EXPECT_NE(NSNumber(1), NSNumber(1.5));
}

TEST(NSNumber, ComparesWithoutRoundingTheInteger) {
  EXPECT_LT(NSNumber(kGreatest), NSNumber(kTwoTo63));
  EXPECT_GT(NSNumber(kTwoTo63), NSNumber(kGreatest));
  EXPECT_EQ(NSNumber(kLeast), NSNumber(-kTwoTo63));
  EXPECT_LT(NSNumber(std::int64_t{9007199254740992}), NSNumber(std::int64_t{9007199254740993}));
  EXPECT_NE(NSNumber(std::int64_t{9007199254740993}), NSNumber(9007199254740992.0));
}

TEST(NSNumber, ComparesFractionsOnBothSidesOfZero) {
  EXPECT_LT(NSNumber(-2), NSNumber(-1.5));
  EXPECT_GT(NSNumber(-1), NSNumber(-1.5));
  EXPECT_LT(NSNumber(1), NSNumber(1.5));
  EXPECT_LT(NSNumber(kGreatest), NSNumber(kInfinity));
  EXPECT_GT(NSNumber(kLeast), NSNumber(-kInfinity));
}

TEST(NSNumber, HasNoOrderWithWhatIsNoNumber) {
  EXPECT_EQ(NSNumber(1) <=> NSNumber(kNaN), std::partial_ordering::unordered);
  EXPECT_FALSE(NSNumber(kNaN) == NSNumber(kNaN));
}

TEST(NSNumber, ConvertsExactlyOnlyWhatIsWholeAndInRange) {
  EXPECT_EQ(NSNumber(3.0).exactInt64(), 3);
  EXPECT_EQ(NSNumber(-0.0).exactInt64(), 0);
  EXPECT_EQ(NSNumber(-kTwoTo63).exactInt64(), kLeast);
  for (const double value : {0.5, kTwoTo63, kInfinity, -kInfinity, kNaN, -kTwoTo63 * 2}) {
    EXPECT_EQ(NSNumber(value).exactInt64(), std::nullopt) << value;
  }
}

TEST(NSNumber, ClampsWhenItIsReadAsAWholeNumber) {
  EXPECT_EQ(NSNumber(-1.9).int64Value(), -1);
  EXPECT_EQ(NSNumber(kInfinity).int64Value(), kGreatest);
  EXPECT_EQ(NSNumber(-kInfinity).int64Value(), kLeast);
  EXPECT_EQ(NSNumber(kNaN).int64Value(), 0);
}

TEST(NSNumber, WritesTheShortestTextThatReadsBack) {
  EXPECT_EQ(NSNumber(0.1).stringValue(), "0.1");
  EXPECT_EQ(NSNumber(3.0).stringValue(), "3");
  EXPECT_EQ(NSNumber(kLeast).stringValue(), "-9223372036854775808");
}

}  // namespace
}  // namespace foundation
