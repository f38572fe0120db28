#include "CoreData/SQLite/Query/ColumnValue.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>

#include "Tests/CoreData/SQLite/Query/HabitModel.h"

namespace {

using coredata::ColumnKind;
using coredata::QueryParameter;
using foundation::Operand;
using foundation::Value;

constexpr std::int64_t kBetweenDoubles = (std::int64_t{1} << 53) + 1;
constexpr double kBelow = 9007199254740992.0;
constexpr double kAbove = 9007199254740994.0;

Operand asReal(const Value& value, QueryParameter::Role role) {
  return coredata::columnValue(value, {ColumnKind::real}, role, habits::HandleArguments());
}

TEST(ColumnValue, RoundsABoundAwayFromTheDoublesThatItParts) {
  EXPECT_EQ(asReal(kBetweenDoubles, QueryParameter::Role::roundedDown).asReal(), kBelow);
  EXPECT_EQ(asReal(kBetweenDoubles, QueryParameter::Role::roundedUp).asReal(), kAbove);
  EXPECT_EQ(asReal(kBetweenDoubles, QueryParameter::Role::equality).kind(), Operand::Kind::other);
}

TEST(ColumnValue, RoundsTheLargestNumberWithoutOverflow) {
  const Value largest(std::numeric_limits<std::int64_t>::max());

  EXPECT_EQ(asReal(largest, QueryParameter::Role::roundedUp).asReal(), 9223372036854775808.0);
  EXPECT_LT(asReal(largest, QueryParameter::Role::roundedDown).asReal(), 9223372036854775808.0);
}

TEST(ColumnValue, KeepsWholeNumbersThatADoubleHolds) {
  EXPECT_EQ(asReal(3, QueryParameter::Role::equality).kind(), Operand::Kind::real);
  EXPECT_EQ(asReal(3, QueryParameter::Role::roundedUp).asReal(), 3.0);
}

TEST(ColumnValue, HasNoPlaceForNotANumber) {
  EXPECT_EQ(asReal(std::nan(""), QueryParameter::Role::equality).kind(), Operand::Kind::other);
}

TEST(ColumnValue, EndsPrefixesAtTheNextByte) {
  EXPECT_EQ(coredata::prefixEnd("2024-01"), "2024-02");
  EXPECT_EQ(coredata::prefixEnd("a\xff\xff"), "b");
  EXPECT_EQ(coredata::prefixEnd("\x7f"), "\x80");
  EXPECT_EQ(coredata::prefixEnd("\xff"), "");
  EXPECT_EQ(coredata::prefixEnd(""), "");
}

}  // namespace
