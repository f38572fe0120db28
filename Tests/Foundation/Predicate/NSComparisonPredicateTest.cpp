#include "Foundation/Predicate/NSComparisonPredicate.h"

#include <gtest/gtest.h>

#include "Foundation/Values/Error.h"

namespace foundation {
namespace {

NSPredicate compare(std::string_view key, ComparisonOperator comparison, Value value,
                    ComparisonModifier modifier = ComparisonModifier::direct,
                    TextOption option = TextOption::exact) {
  return NSComparisonPredicate(NSExpression::forKeyPath(key),
                               NSExpression::forConstantValue(std::move(value)), modifier,
                               comparison, option);
}

TEST(NSComparisonPredicate, EqualsTheFormatThatSaysTheSame) {
  EXPECT_EQ(compare("author", ComparisonOperator::notEqual, "app"),
            NSPredicate::format("author != %@", "app"));
  EXPECT_EQ(compare("in.date", ComparisonOperator::beginsWith, "2024", ComparisonModifier::any,
                    TextOption::caseInsensitive),
            NSPredicate::format("ANY #in.date BEGINSWITH[c] %@", "2024"));
  EXPECT_EQ(compare("type", ComparisonOperator::in, ValueList{1, 2}),
            NSPredicate::format("type IN %@", ValueList{1, 2}));
}

TEST(NSComparisonPredicate, RefusesPartsThatDoNotFitTogether) {
  EXPECT_THROW(static_cast<void>(compare("a", ComparisonOperator::in, 1)), Error);
  EXPECT_THROW(static_cast<void>(compare("a", ComparisonOperator::less, 1,
                                         ComparisonModifier::direct, TextOption::caseInsensitive)),
               Error);
}

TEST(NSComparisonPredicate, ComputesNoFunctions) {
  const auto sum = NSExpression::forFunction("sum:", {NSExpression::forKeyPath("count")});

  EXPECT_THROW(NSComparisonPredicate(sum, NSExpression::forConstantValue(1),
                                     ComparisonModifier::direct, ComparisonOperator::equal),
               Error);
}

}  // namespace
}  // namespace foundation
