#include "CoreData/Migration/Mapping/AttributeConstant.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace coredata {
namespace {

using foundation::NSNumber;
using foundation::Value;

TEST(AttributeConstant, TakesANumberInTheKindOfItsType) {
  EXPECT_EQ(constantOfType(1, NSAttributeType::double_)->number()->kind(), NSNumber::Kind::real);
  EXPECT_EQ(constantOfType(2.0, NSAttributeType::integer16)->number()->kind(),
            NSNumber::Kind::integer);
  EXPECT_EQ(constantOfType(true, NSAttributeType::boolean), Value(true));
}

TEST(AttributeConstant, RefusesANumberThatTheTypeDoesNotHold) {
  EXPECT_EQ(constantOfType(INT16_MAX, NSAttributeType::integer16), Value(INT16_MAX));
  EXPECT_EQ(constantOfType(INT16_MAX + 1, NSAttributeType::integer16), std::nullopt);
  EXPECT_EQ(constantOfType(INT16_MAX + 1, NSAttributeType::integer32), Value(INT16_MAX + 1));
  EXPECT_EQ(constantOfType(std::int64_t{INT32_MIN} - 1, NSAttributeType::integer32), std::nullopt);
  EXPECT_EQ(constantOfType(INT64_MIN, NSAttributeType::integer64), Value(INT64_MIN));
  EXPECT_EQ(constantOfType(0.5, NSAttributeType::integer64), std::nullopt);
  EXPECT_EQ(constantOfType(std::numeric_limits<double>::infinity(), NSAttributeType::double_),
            std::nullopt);
}

TEST(AttributeConstant, KeepsNumbersTextsAndTruthApart) {
  EXPECT_EQ(constantOfType("1", NSAttributeType::string), Value("1"));
  EXPECT_EQ(constantOfType("1", NSAttributeType::integer16), std::nullopt);
  EXPECT_EQ(constantOfType(1, NSAttributeType::string), std::nullopt);
  EXPECT_EQ(constantOfType(1, NSAttributeType::boolean), std::nullopt);
  EXPECT_EQ(constantOfType(true, NSAttributeType::integer16), std::nullopt);
  EXPECT_EQ(constantOfType("1", NSAttributeType::date), std::nullopt);
  EXPECT_EQ(constantOfType(nullptr, NSAttributeType::string), std::nullopt);
}

}  // namespace
}  // namespace coredata
