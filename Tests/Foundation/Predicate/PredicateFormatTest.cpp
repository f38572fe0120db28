#include <gtest/gtest.h>

#include <string>

#include "Foundation/Predicate/NSPredicate.h"
#include "Foundation/Values/Error.h"

namespace foundation {
namespace {

const PredicateNode& rootOf(std::string_view format) {
  return PredicateShape::parse(format)->root();
}

std::string normalised(std::string_view format) { return PredicateShape::parse(format)->format(); }

TEST(PredicateFormat, ReadsAComparisonOfAKeyPathWithAnArgument) {
  const PredicateNode& root = rootOf("activity.status = %d");

  EXPECT_EQ(root.kind, PredicateNode::Kind::comparison);
  EXPECT_EQ(root.comparison, ComparisonOperator::equal);
  EXPECT_EQ(root.left.kind, ExpressionNode::Kind::keyPath);
  EXPECT_EQ(root.left.path.segments, (std::vector<std::string>{"activity", "status"}));
  EXPECT_EQ(root.right.kind, ExpressionNode::Kind::argument);
  EXPECT_EQ(root.right.argument, 0U);
}

TEST(PredicateFormat, SpellsEachOperatorInOneWay) {
  EXPECT_EQ(normalised("a == 1"), "a = 1");
  EXPECT_EQ(normalised("a <> 1"), "a != 1");
  EXPECT_EQ(normalised("a =< 1"), "a <= 1");
  EXPECT_EQ(normalised("a => 1"), "a >= 1");
  EXPECT_EQ(normalised("a < 1 && b > 2 || c >= 3"), "a < 1 AND b > 2 OR c >= 3");
  EXPECT_EQ(normalised("! a <= 1"), "NOT a <= 1");
  EXPECT_EQ(normalised("SOME a.b != 1"), "ANY a.b != 1");
  EXPECT_EQ(normalised("none a.b = 1"), "NOT ANY a.b = 1");
}

TEST(PredicateFormat, TakesKeywordsInAnyCaseAndKeysAsTheyAre) {
  EXPECT_EQ(normalised("Date beginswith %@ aNd NOT type in {1,2}"),
            "Date BEGINSWITH %@ AND NOT type IN {1, 2}");
  EXPECT_EQ(normalised("a = YES or b = null or c = False"), "a = TRUE OR b = nil OR c = FALSE");
  EXPECT_NE(PredicateShape::parse("date = 1"), PredicateShape::parse("Date = 1"));
}

TEST(PredicateFormat, BindsAndTighterThanOr) {
  const PredicateNode& root = rootOf("a = 1 OR b = 2 AND c = 3");

  ASSERT_EQ(root.kind, PredicateNode::Kind::disjunction);
  ASSERT_EQ(root.children.size(), 2U);
  EXPECT_EQ(root.children[1].kind, PredicateNode::Kind::conjunction);
}

TEST(PredicateFormat, BindsNotTighterThanAnd) {
  const PredicateNode& root = rootOf("NOT a = 1 AND b = 2");

  ASSERT_EQ(root.kind, PredicateNode::Kind::conjunction);
  EXPECT_EQ(root.children[0].kind, PredicateNode::Kind::negation);
}

TEST(PredicateFormat, KeepsOnlyTheParenthesesThatMatter) {
  EXPECT_EQ(normalised("((a = 1)) AND (b = 2 AND (c = 3))"), "a = 1 AND b = 2 AND c = 3");
  EXPECT_EQ(normalised("(a = 1 OR b = 2) AND c = 3"), "(a = 1 OR b = 2) AND c = 3");
  EXPECT_EQ(normalised("NOT (a = 1 AND b = 2)"), "NOT (a = 1 AND b = 2)");
  EXPECT_EQ(normalised("NOT NOT (a = 1)"), "NOT NOT a = 1");
}

TEST(PredicateFormat, TakesParenthesesAroundEitherSideOfAComparison) {
  EXPECT_EQ(normalised("((a)) = ((%@))"), "a = %@");
  EXPECT_EQ(normalised("NOT ((a) = 1 OR (b) = 2)"), "NOT (a = 1 OR b = 2)");
}

TEST(PredicateFormat, GivesTheSameShapeForFormatsOfTheSameMeaning) {
  EXPECT_EQ(PredicateShape::parse("activity = %@ AND date = %@"),
            PredicateShape::parse("(activity == %@) && (date == %@)"));
  EXPECT_NE(PredicateShape::parse("a = %@"), PredicateShape::parse("a = %d"));
}

TEST(PredicateFormat, NumbersArgumentsAndSitesInTheOrderOfTheText) {
  const auto shape = PredicateShape::parse("activity = %@ AND (%@ <= date AND date <= %@)");
  const PredicateNode& root = shape->root();

  ASSERT_EQ(root.children.size(), 3U);
  EXPECT_EQ(root.children[1].left.argument, 1U);
  EXPECT_EQ(root.children[2].right.argument, 2U);
  EXPECT_EQ(root.children[2].left.path.site, 2U);
  EXPECT_EQ(shape->argumentCount(), 3U);
  EXPECT_EQ(shape->siteCount(), 3U);
}

TEST(PredicateFormat, ReadsASubqueryWithItsVariable) {
  const auto shape = PredicateShape::parse(
      "status == %d AND (createdDate <= %@ OR SUBQUERY(checkins, $checkin, $checkin.date BETWEEN "
      "{%@, %@}).@count > 0)");
  const ExpressionNode& subquery = shape->root().children[1].children[1].left;

  ASSERT_EQ(subquery.kind, ExpressionNode::Kind::subqueryCount);
  EXPECT_EQ(subquery.path.text, "checkins");
  EXPECT_EQ(subquery.variable, "checkin");
  EXPECT_EQ(subquery.condition.front().left.path.scope, 1U);
  EXPECT_EQ(subquery.condition.front().left.path.text, "$checkin.date");
  EXPECT_EQ(subquery.condition.front().right.elements[1].argument, 3U);
  EXPECT_EQ(shape->scopeDepth(), 1U);
  EXPECT_EQ(shape->argumentCount(), 4U);
}

TEST(PredicateFormat, LetsAnInnerVariableHideAnOuterOne) {
  const auto shape =
      PredicateShape::parse("SUBQUERY(a, $x, SUBQUERY($x.b, $x, $x.c = 1).@count > 0).@count > 0");
  const ExpressionNode& inner = shape->root().left.condition.front().left;

  EXPECT_EQ(inner.path.scope, 1U);
  EXPECT_EQ(inner.condition.front().left.path.scope, 2U);
}

TEST(PredicateFormat, ReadsTheCountOfAToMany) {
  const PredicateNode& root = rootOf("checkins.@count >= 3");

  EXPECT_EQ(root.left.kind, ExpressionNode::Kind::count);
  EXPECT_EQ(root.left.path.text, "checkins");
}

TEST(PredicateFormat, ReadsSelfAndTheVariableItselfAsEmptyPaths) {
  EXPECT_TRUE(rootOf("SELF = %@").left.path.segments.empty());
  EXPECT_EQ(normalised("self.name = 'x'"), "name = \"x\"");
  EXPECT_EQ(normalised("SUBQUERY(a, $x, $x = %@).@count = 0"),
            "SUBQUERY(a, $x, $x = %@).@count = 0");
}

TEST(PredicateFormat, TreatsAPlaceholderInQuotesAsText) {
  const auto shape = PredicateShape::parse("name = '%@ and %d' AND note = \"100%%\"");

  EXPECT_EQ(shape->argumentCount(), 0U);
  EXPECT_EQ(*shape->root().children[0].right.literal.text(), "%@ and %d");
  EXPECT_EQ(*shape->root().children[1].right.literal.text(), "100%");
}

TEST(PredicateFormat, ReadsEscapesInTexts) {
  const PredicateNode& root = rootOf(R"(a = 'it\'s "\\" \n\t\r\0')");

  EXPECT_EQ(*root.right.literal.text(), std::string("it's \"\\\" \n\t\r\0", 13));
}

TEST(PredicateFormat, ReadsNumbersWithTheirKind) {
  EXPECT_EQ(rootOf("a = -9223372036854775808").right.literal.number()->int64Value(), INT64_MIN);
  EXPECT_TRUE(rootOf("a = 1.0").right.literal.number()->isReal());
  EXPECT_EQ(rootOf("a>-1.5e3").right.literal.number()->doubleValue(), -1500.0);
  EXPECT_EQ(normalised("a = 1.0 OR a = 1 OR a = 1e300 OR a = -0.0"),
            "a = 1.0 OR a = 1 OR a = 1e+300 OR a = -0.0");
}

TEST(PredicateFormat, TakesAReservedWordAsKeyAfterASign) {
  EXPECT_EQ(rootOf("#in = 1").left.path.segments.front(), "in");
  EXPECT_EQ(normalised("#in = 1"), "#in = 1");
  EXPECT_EQ(normalised("a.in.#or = 1"), "a.in.or = 1");
}

TEST(PredicateFormat, PutsKeyPathArgumentsIntoTheText) {
  const NSPredicate predicate = NSPredicate::format("%K == %@", "uuid", UUID::Bytes{}.size());

  EXPECT_EQ(predicate.predicateFormat(), "uuid = %@");
  EXPECT_EQ(predicate.arguments().size(), 1U);
  EXPECT_EQ(NSPredicate::format("%K like '*'", "kMDItemName").predicateFormat(),
            "kMDItemName LIKE \"*\"");
  EXPECT_EQ(NSPredicate::format("%K = 1", "and").predicateFormat(), "#and = 1");
  EXPECT_EQ(NSPredicate::format("a.%K = 1 AND %K.c = 2", "x.y", "b").predicateFormat(),
            "a.x.y = 1 AND b.c = 2");
}

TEST(PredicateFormat, KeepsFormatsApartThatDifferInTheirKeyPathArguments) {
  const NSPredicate author = NSPredicate::format("%K != %@", "author", "app");
  const NSPredicate context = NSPredicate::format("%K != %@", "contextName", "app");

  EXPECT_EQ(author.predicateFormat(), "author != %@");
  EXPECT_EQ(context.predicateFormat(), "contextName != %@");
}

TEST(PredicateFormat, GivesBackTheShapeThatItPrinted) {
  for (const char* format :
       {"activity = %@ AND date BEGINSWITH %@", "count > %lf", "type in %@",
        "(%@ <= checkin.date AND checkin.date <= %@) AND checkin.activity.status = %d",
        "status == %d AND group = nil", "name LIKE[c] 'a\\\\*%%' OR NOT (x IN {} AND ALL y.z < 2)",
        "a = %ld AND b = %u AND c = %llu AND TRUEPREDICATE",
        "\xEC\x9D\xB4\xEB\xA6\x84 = '\xEA\xB0\x80'"}) {
    const auto shape = PredicateShape::parse(format);

    EXPECT_EQ(PredicateShape::parse(shape->format()), shape) << format;
  }
}

}  // namespace
}  // namespace foundation
