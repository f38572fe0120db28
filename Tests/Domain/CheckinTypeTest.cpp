#include "Domain/CheckinType.h"

#include <gtest/gtest.h>

#include <array>

namespace domain {
namespace {

TEST(CheckinType, IsStoredAsZeroAndTen) {
  EXPECT_EQ(CheckinType(CheckinType::standard).value(), 0);
  EXPECT_EQ(CheckinType(CheckinType::alternate).value(), 10);
}

TEST(CheckinType, ReadsBackWhatItStores) {
  EXPECT_EQ(CheckinType::with(0), CheckinType::standard);
  EXPECT_EQ(CheckinType::with(10), CheckinType::alternate);
}

TEST(CheckinType, IsNoneForAnAbsentNumber) {
  EXPECT_FALSE(CheckinType::with(std::nullopt).has_value());
}

TEST(CheckinType, IsNoneForAnyOtherNumber) {
  for (const std::int16_t number :
       std::to_array<std::int16_t>({-32768, -10, -1, 1, 5, 9, 11, 100, 32767})) {
    EXPECT_FALSE(CheckinType::with(number).has_value()) << number;
  }
}

}  // namespace
}  // namespace domain
