#include "Domain/CheckinProgressValue.h"

#include <gtest/gtest.h>

#include <limits>

namespace domain {
namespace {

constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();

TEST(CheckinProgressValue, EqualsAnotherProgressOfTheSameFraction) {
  EXPECT_EQ(CheckinProgressValue::progress(0.5), CheckinProgressValue::progress(0.5));
  EXPECT_NE(CheckinProgressValue::progress(0.5), CheckinProgressValue::progress(0.25));
}

TEST(CheckinProgressValue, EqualsNothingWhenItsFractionIsNotANumber) {
  const auto value = CheckinProgressValue::progress(kNotANumber);

  EXPECT_FALSE(value == value);
}

TEST(CheckinProgressValue, TakesBothZerosForEqual) {
  EXPECT_EQ(CheckinProgressValue::progress(0.0), CheckinProgressValue::progress(-0.0));
}

TEST(CheckinProgressValue, EqualsTheSameCaseWithoutFraction) {
  EXPECT_EQ(CheckinProgressValue::complete(), CheckinProgressValue::complete());
  EXPECT_EQ(CheckinProgressValue::other(), CheckinProgressValue::other());
  EXPECT_NE(CheckinProgressValue::complete(), CheckinProgressValue::other());
}

TEST(CheckinProgressValue, NeverEqualsAcrossFractionAndNone) {
  EXPECT_NE(CheckinProgressValue::progress(1.0), CheckinProgressValue::complete());
  EXPECT_NE(CheckinProgressValue::other(), CheckinProgressValue::progress(1.0));
}

TEST(CheckinProgressValue, IsDrawnByItsFraction) {
  EXPECT_EQ(CheckinProgressValue::progress(0.25).scale(), 0.25);
  EXPECT_EQ(CheckinProgressValue::progress(-2.0).scale(), -2.0);
}

TEST(CheckinProgressValue, IsDrawnInFullWithoutFraction) {
  EXPECT_EQ(CheckinProgressValue::complete().scale(), 1.0);
  EXPECT_EQ(CheckinProgressValue::other().scale(), 1.0);
}

}  // namespace
}  // namespace domain
