#include "Foundation/Predicate/NSExpression.h"

#include <gtest/gtest.h>

#include "Foundation/Values/Error.h"

namespace foundation {
namespace {

TEST(NSExpression, NamesAFunctionAndItsArgument) {
  const auto sum = NSExpression::forFunction("sum:", {NSExpression::forKeyPath("count")});

  EXPECT_EQ(sum.expressionType(), NSExpression::ExpressionType::function);
  EXPECT_EQ(sum.function(), NSExpression::Function::sum);
  EXPECT_EQ(sum.arguments().front().keyPath(), "count");
  EXPECT_EQ(sum.description(), "sum:(count)");
}

TEST(NSExpression, KnowsFiveFunctions) {
  for (const char* name : {"sum:", "min:", "max:", "average:", "count:"}) {
    const auto expression = NSExpression::forFunction(name, {NSExpression::forKeyPath("a")});

    EXPECT_EQ(functionName(expression.function()), name);
  }
}

TEST(NSExpression, RefusesUnknownFunctionsAndOtherNumbersOfArguments) {
  EXPECT_THROW(static_cast<void>(NSExpression::forFunction("sum", {NSExpression::forKeyPath("a")})),
               Error);
  EXPECT_THROW(static_cast<void>(NSExpression::forFunction("sum:", {})), Error);
}

TEST(NSExpression, RefusesATextThatIsNoKeyPath) {
  for (const char* text : {"", ".", "a.", ".a", "a b", "a..b", "a;b", "\xFF"}) {
    EXPECT_THROW(static_cast<void>(NSExpression::forKeyPath(text)), Error) << text;
  }
}

TEST(NSExpression, HoldsAConstant) {
  EXPECT_EQ(NSExpression::forConstantValue("x").constantValue(), Value("x"));
  EXPECT_EQ(NSExpression::forConstantValue("x").description(), "\"x\"");
}

}  // namespace
}  // namespace foundation
