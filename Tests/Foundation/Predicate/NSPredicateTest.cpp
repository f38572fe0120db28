#include "Foundation/Predicate/NSPredicate.h"

#include <gtest/gtest.h>

#include "Tests/Foundation/Predicate/TestObject.h"

namespace foundation {
namespace {

TEST(NSPredicate, HoldsForEverythingOrNothingWhenMadeFromAValue) {
  EXPECT_TRUE(NSPredicate::withValue(true).evaluate(Value(1)));
  EXPECT_FALSE(NSPredicate::withValue(false).evaluate(Value(1)));
}

TEST(NSPredicate, KeepsEveryArgumentInItsOrder) {
  const auto predicate = NSPredicate::format("a IN {%@, %@, %@, %@, %@, %@}", 1, 2, 3, 4, 5,
                                             "long text beyond a small buffer");

  ASSERT_EQ(predicate.arguments().size(), 6U);
  EXPECT_EQ(predicate.arguments()[4], Value(5));
  EXPECT_EQ(predicate.arguments()[5], Value("long text beyond a small buffer"));
}

TEST(NSPredicate, SharesItsShapeWithPredicatesOfOtherArguments) {
  EXPECT_EQ(NSPredicate::format("date = %@", "a").sharedShape(),
            NSPredicate::format("date = %@", "b").sharedShape());
}

TEST(NSPredicate, EqualsAPredicateOfTheSameShapeAndArguments) {
  EXPECT_EQ(NSPredicate::format("a == %@", 1), NSPredicate::format("(a = %@)", 1.0));
  EXPECT_FALSE(NSPredicate::format("a = %@", 1) == NSPredicate::format("a = %@", 2));
  EXPECT_FALSE(NSPredicate::format("a = %@", 1) == NSPredicate::format("b = %@", 1));
}

TEST(NSPredicate, StaysWholeWhenItsSourceIsGone) {
  std::optional<NSPredicate> copy;
  {
    const auto predicate = NSPredicate::format("name = %@", std::string(100, 'x'));
    copy = predicate;
  }

  EXPECT_EQ(copy->arguments()[0], Value(std::string(100, 'x')));
}

TEST(NSPredicate, ShowsValuesInItsDescriptionOnly) {
  const auto predicate = NSPredicate::format("name = %@ AND count > %d AND type IN %@ AND x = %@",
                                             "a \"b\"", 3, ValueList{1, "y"}, nullptr);

  EXPECT_EQ(predicate.description(),
            "name = \"a \\\"b\\\"\" AND count > 3 AND type IN {1, \"y\"} AND x = nil");
  EXPECT_EQ(predicate.predicateFormat(), "name = %@ AND count > %d AND type IN %@ AND x = %@");
}

TEST(NSPredicate, TakesOptionalsRangesAndWholeNumbersOfAnyWidth) {
  const auto predicate = NSPredicate::format(
      "a = %@ AND b = %@ AND c IN %@ AND d = %d", std::optional<std::string>(),
      std::optional<std::string>("x"), std::vector<std::string>{"y"}, static_cast<std::int8_t>(-1));

  EXPECT_TRUE(predicate.arguments()[0].isNone());
  EXPECT_EQ(predicate.arguments()[1], Value("x"));
  EXPECT_EQ(predicate.arguments()[2], Value(ValueList{"y"}));
  EXPECT_EQ(predicate.arguments()[3], Value(-1));
}

}  // namespace
}  // namespace foundation
