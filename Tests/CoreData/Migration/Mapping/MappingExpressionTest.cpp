#include "CoreData/Migration/Mapping/MappingExpression.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/CoreData/Migration/Mapping/MappingTesting.h"

namespace coredata {
namespace {

using foundation::NSNumber;
using foundation::Value;
using testing::ElementsAre;
using testing::EndsWith;
using Variable = MappingExpression::Variable;

Value constantOf(std::string_view text) {
  const auto expression = MappingExpression::parse(text);
  const auto* constant = expression.constant();
  EXPECT_NE(constant, nullptr) << text;
  return constant == nullptr ? Value("no constant") : *constant;
}

std::string reprinted(std::string_view text) {
  return MappingExpression::parse(text).description();
}

std::string refusalOfText(std::string_view text) {
  return refusalOf([text] { static_cast<void>(MappingExpression::parse(text)); });
}

std::string nestedCalls(int depth) {
  std::string text = "1";
  for (int i = 0; i < depth; ++i) text = "FUNCTION($manager, 'a:', " + text + ")";
  return text;
}

TEST(MappingExpression, ReadsConstantsOfEveryKind) {
  EXPECT_TRUE(constantOf("null").isNone());
  EXPECT_EQ(constantOf("true").number()->kind(), NSNumber::Kind::boolean);
  EXPECT_FALSE(constantOf("false").number()->boolValue());
  EXPECT_EQ(constantOf(" -9223372036854775808 "), Value(std::int64_t{INT64_MIN}));
  EXPECT_EQ(constantOf("12").number()->kind(), NSNumber::Kind::integer);
  EXPECT_EQ(constantOf("12.0").number()->kind(), NSNumber::Kind::real);
  EXPECT_EQ(constantOf("-2.5e-3"), Value(-0.0025));
  EXPECT_EQ(constantOf("\r25E+2"), Value(2500.0));
  EXPECT_EQ(constantOf("'blue'"), Value("blue"));
  EXPECT_EQ(constantOf(R"("it's")"), Value("it's"));
  EXPECT_EQ(constantOf(R"('a\'b\\c"d')"), Value(R"(a'b\c"d)"));
  EXPECT_EQ(constantOf("''"), Value(""));
}

TEST(MappingExpression, ReadsPathsOfKeysFromAVariable) {
  const auto path = MappingExpression::parse("$source.check_in.date");

  ASSERT_NE(path.keyPath(), nullptr);
  EXPECT_EQ(path.keyPath()->variable, Variable::source);
  EXPECT_THAT(path.keyPath()->keys, ElementsAre("check_in", "date"));
  EXPECT_EQ(path.constant(), nullptr);
  EXPECT_EQ(path.function(), nullptr);
}

TEST(MappingExpression, ReadsVariablesAlone) {
  EXPECT_EQ(MappingExpression::parse("$source").keyPath()->variable, Variable::source);
  EXPECT_EQ(MappingExpression::parse("$destination").keyPath()->variable, Variable::destination);
  EXPECT_EQ(MappingExpression::parse("$manager").keyPath()->variable, Variable::manager);
  EXPECT_EQ(MappingExpression::parse("$entityPolicy").keyPath()->variable, Variable::entityPolicy);
  EXPECT_TRUE(MappingExpression::parse("$manager").keyPath()->keys.empty());
}

TEST(MappingExpression, ReadsACallWithItsArguments) {
  const auto expression = MappingExpression::parse(
      "FUNCTION( $manager ,'destinationInstancesForEntityMappingNamed:sourceInstances:',\n"
      "'PhotoToPhoto', $source.photo )");

  const auto* call = expression.function();
  ASSERT_NE(call, nullptr);
  EXPECT_EQ(call->target, Variable::manager);
  EXPECT_EQ(call->selector, "destinationInstancesForEntityMappingNamed:sourceInstances:");
  ASSERT_EQ(call->arguments.size(), 2);
  EXPECT_EQ(*call->arguments[0].constant(), Value("PhotoToPhoto"));
  EXPECT_THAT(call->arguments[1].keyPath()->keys, ElementsAre("photo"));
}

TEST(MappingExpression, ReadsACallWithoutArguments) {
  EXPECT_EQ(MappingExpression::parse("FUNCTION($entityPolicy, 'now')").function()->selector, "now");
}

TEST(MappingExpression, PrintsWhatReadsBackAsTheSame) {
  for (const auto* text :
       {"null", "true", "false", "-12", "1.5", "2.0", "1e+300", R"("a\"b\\c'd")", "$source",
        "$destination.a.b", R"(FUNCTION($entityPolicy, "now"))",
        R"(FUNCTION($entityPolicy, "a:b:", 1, FUNCTION($manager, "c:", $source.x)))"}) {
    EXPECT_EQ(reprinted(text), text);
    EXPECT_EQ(MappingExpression::parse(reprinted(text)), MappingExpression::parse(text));
  }
}

TEST(MappingExpression, TellsUnequalExpressionsApart) {
  const auto call = MappingExpression::parse("FUNCTION($entityPolicy, 'a:', $source.x)");

  EXPECT_EQ(call, MappingExpression::parse("FUNCTION($entityPolicy, \"a:\",$source.x)"));
  EXPECT_NE(call, MappingExpression::parse("FUNCTION($entityPolicy, 'a:', $source.y)"));
  EXPECT_NE(call, MappingExpression::parse("FUNCTION($manager, 'a:', $source.x)"));
  EXPECT_NE(call, MappingExpression::parse("$source.x"));
  EXPECT_NE(MappingExpression::parse("$source.x"), MappingExpression::parse("$destination.x"));
}

TEST(MappingExpression, NamesThePlaceOfAMistake) {
  EXPECT_EQ(refusalOfText("$sauce.x"),
            "The value expression \"$sauce.x\" is wrong at character 1: the variables are $source, "
            "$destination, $manager and $entityPolicy.");
  EXPECT_THAT(refusalOfText(""),
              EndsWith("character 1: expected a constant, a variable or FUNCTION."));
  EXPECT_THAT(refusalOfText("none"),
              EndsWith("character 1: expected a constant, a variable or FUNCTION."));
  EXPECT_THAT(refusalOfText("~"),
              EndsWith("character 1: expected a constant, a variable or FUNCTION."));
  EXPECT_THAT(refusalOfText("1 2"), EndsWith("character 3: the expression ends before this."));
  EXPECT_THAT(refusalOfText("'a"), EndsWith("character 1: the text does not end."));
  EXPECT_THAT(refusalOfText("'a\\"), EndsWith("character 1: the text does not end."));
  EXPECT_THAT(refusalOfText("$source."), EndsWith("character 9: expected a key."));
  EXPECT_THAT(refusalOfText("$source.1"), EndsWith("character 9: expected a key."));
  EXPECT_THAT(refusalOfText("$manager.x"), EndsWith("character 10: $manager has no keys."));
  EXPECT_THAT(refusalOfText("-"), EndsWith("character 2: expected a digit."));
  EXPECT_THAT(refusalOfText("1.e5"), EndsWith("character 3: expected a digit."));
  EXPECT_THAT(refusalOfText("9223372036854775808"),
              EndsWith("character 1: the number is too large."));
  EXPECT_THAT(refusalOfText("1e999"), EndsWith("character 1: the number is too large."));
}

TEST(MappingExpression, RefusesCallsThatCannotBeMade) {
  EXPECT_THAT(refusalOfText("FUNCTION"), EndsWith("character 9: expected (."));
  EXPECT_THAT(refusalOfText("FUNCTION($source, 'a')"),
              EndsWith("character 10: only $manager and $entityPolicy are called."));
  EXPECT_THAT(refusalOfText("FUNCTION($manager)"), EndsWith("character 18: expected ,."));
  EXPECT_THAT(refusalOfText("FUNCTION($manager, a)"),
              EndsWith("character 20: expected a selector in quotes."));
  EXPECT_THAT(refusalOfText("FUNCTION($manager, 'a'"), EndsWith("character 23: expected )."));
  EXPECT_THAT(refusalOfText("FUNCTION($manager, 'a:')"),
              EndsWith("character 20: the selector takes 1 arguments and is given 0."));
  for (const auto* selector : {"", ":", "a::", "a b:", "1a:", "a:b"}) {
    EXPECT_THAT(refusalOfText("FUNCTION($manager, '" + std::string(selector) + "', 1, 2)"),
                EndsWith("character 20: this is no selector."))
        << selector;
  }
}

TEST(MappingExpression, RefusesWhatIsTooDeepOrTooLong) {
  EXPECT_EQ(refusalOfText(nestedCalls(MappingExpression::kGreatestDepth)), "");
  EXPECT_THAT(refusalOfText(nestedCalls(MappingExpression::kGreatestDepth + 1)),
              EndsWith("calls lie too deep in each other."));
  EXPECT_THAT(refusalOfText(std::string(MappingExpression::kLongestText + 1, ' ')),
              EndsWith("the text is too long."));
}

}  // namespace
}  // namespace coredata
