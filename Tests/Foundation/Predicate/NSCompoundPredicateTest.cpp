#include "Foundation/Predicate/NSCompoundPredicate.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Foundation/Values/Error.h"
#include "Tests/Foundation/Predicate/TestObject.h"

namespace foundation {
namespace {

TEST(NSCompoundPredicate, IsTrueForAnEmptyAndAndFalseForAnEmptyOr) {
  EXPECT_TRUE(NSCompoundPredicate::andPredicate({}).evaluate(Value(1)));
  EXPECT_FALSE(NSCompoundPredicate::orPredicate({}).evaluate(Value(1)));
}

TEST(NSCompoundPredicate, PutsTheArgumentsOfItsPartsOneAfterTheOther) {
  const auto own = NSPredicate::format("activity = %@ AND date BEGINSWITH %@", 7, "2024");
  const auto types = NSPredicate::format("type in %@", ValueList{0, 10});

  const auto both = NSCompoundPredicate::andPredicate({own, types});

  EXPECT_EQ(both.predicateFormat(), "activity = %@ AND date BEGINSWITH %@ AND type IN %@");
  EXPECT_EQ(both.shape().root().children[2].right.argument, 2U);
  EXPECT_EQ(both.shape().root().children[2].left.path.site, 2U);
  EXPECT_EQ(both.arguments()[2], Value(ValueList{0, 10}));
  EXPECT_EQ(both.sharedShape(),
            PredicateShape::parse("activity = %@ AND date BEGINSWITH %@ AND type in %@"));
}

TEST(NSCompoundPredicate, KeepsAnOrTogetherInsideAnAnd) {
  const auto either = NSCompoundPredicate::orPredicate(
      {NSPredicate::format("a = %@", 1), NSPredicate::format("b = %@", 2)});

  const auto both = NSCompoundPredicate::andPredicate({NSPredicate::format("c = %@", 3), either});

  EXPECT_EQ(both.predicateFormat(), "c = %@ AND (a = %@ OR b = %@)");
}

TEST(NSCompoundPredicate, NegatesTheWholeOfItsPart) {
  const auto both = NSPredicate::format("a = %@ AND b = %@", 1, 2);

  const auto neither = NSCompoundPredicate::notPredicate(both);

  EXPECT_EQ(neither.predicateFormat(), "NOT (a = %@ AND b = %@)");
  EXPECT_TRUE(neither.evaluate(Value(ValueDictionary{{"a", 1}, {"b", 1}})));
  EXPECT_FALSE(neither.evaluate(Value(ValueDictionary{{"a", 1}, {"b", 2}})));
}

TEST(NSCompoundPredicate, IsItsOnlyPartWhenItHasOne) {
  const auto part = NSPredicate::format("author != %@", "app");

  EXPECT_EQ(NSCompoundPredicate::andPredicate({part}), part);
}

TEST(NSCompoundPredicate, RefusesANegationOfSeveralParts) {
  const std::vector<NSPredicate> parts(2, NSPredicate::withValue(true));

  EXPECT_THROW(NSCompoundPredicate(NSCompoundPredicate::LogicalType::not_, parts), Error);
  EXPECT_NO_THROW(NSCompoundPredicate(static_cast<NSCompoundPredicate::LogicalType>(1), parts));
}

TEST(NSCompoundPredicate, GivesTheSameShapeForTheSameParts) {
  const auto make = [](int value) {
    return NSCompoundPredicate::orPredicate(
        {NSPredicate::format("x = %@", value), NSPredicate::format("y = %@", value)});
  };

  EXPECT_EQ(make(1).sharedShape(), make(2).sharedShape());
}

TEST(NSCompoundPredicate, JoinsTenThousandParts) {
  std::vector<NSPredicate> parts;
  for (int i = 0; i < 10000; ++i) parts.push_back(NSPredicate::format("a != %d", i));

  const auto all = NSCompoundPredicate::andPredicate(parts);

  EXPECT_EQ(all.arguments().size(), 10000U);
  EXPECT_TRUE(all.evaluate(Value(ValueDictionary{{"a", 10000}})));
  EXPECT_FALSE(all.evaluate(Value(ValueDictionary{{"a", 9999}})));
}

TEST(NSCompoundPredicate, RefusesToBecomeDeeperThanTheLimit) {
  std::string format = "a = 1";
  for (std::size_t i = 1; i < PredicateShape::kMaximumDepth; ++i) format.insert(0, "NOT ");

  const auto predicate = NSCompoundPredicate::notPredicate(NSPredicate::format(format));

  EXPECT_TRUE(predicate.evaluate(Value(ValueDictionary{{"a", 1}})));
  EXPECT_THROW(static_cast<void>(NSCompoundPredicate::notPredicate(predicate)), Error);
}

}  // namespace
}  // namespace foundation
