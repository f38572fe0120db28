#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>

#include "Foundation/Predicate/NSPredicate.h"
#include "Foundation/Predicate/ValueReader.h"
#include "Foundation/Values/Error.h"
#include "Tests/Foundation/Predicate/TestObject.h"

namespace foundation {
namespace {

using testing::object;

/// Whether the format holds for a value under the key `a`.
template <typename... Arguments>
bool holds(const Value& a, std::string_view format, Arguments&&... arguments) {
  return NSPredicate::format(format, std::forward<Arguments>(arguments)...)
      .evaluate(*object({{"a", a}}));
}

TEST(PredicateEvaluation, TakesEqualWithAbsentAsIsAbsent) {
  EXPECT_TRUE(holds(nullptr, "a = nil"));
  EXPECT_TRUE(holds(nullptr, "a = %@", nullptr));
  EXPECT_TRUE(holds(nullptr, "NULL == a"));
  EXPECT_FALSE(holds(0, "a = nil"));
  EXPECT_FALSE(holds(nullptr, "a = 0"));
}

TEST(PredicateEvaluation, TakesNotEqualAsTheOppositeOfEqual) {
  EXPECT_TRUE(holds(nullptr, "a != 'app'"));
  EXPECT_TRUE(holds("extension", "a != 'app'"));
  EXPECT_FALSE(holds("app", "a != 'app'"));
  EXPECT_FALSE(holds(nullptr, "a != nil"));
  EXPECT_TRUE(holds(1, "a != %@", nullptr));
}

TEST(PredicateEvaluation, GivesAnAbsentSideNoOrder) {
  for (const char* format :
       {"a < 1", "a <= 1", "a > 1", "a >= 1", "1 < a", "a <= nil", "a >= nil"}) {
    EXPECT_FALSE(holds(nullptr, format)) << format;
    EXPECT_TRUE(holds(nullptr, "NOT " + std::string(format))) << format;
  }
}

TEST(PredicateEvaluation, ComparesNumbersOfAnyWidthByValue) {
  EXPECT_TRUE(holds(std::int64_t{65536}, "a > %d", 0));
  EXPECT_FALSE(holds(std::int64_t{65536}, "a = %d", 0));
  EXPECT_TRUE(holds(-1, "a = %d", std::int16_t{-1}));
  EXPECT_TRUE(holds(true, "a = 1"));
  EXPECT_TRUE(holds(2, "a = 2.0"));
  EXPECT_TRUE(holds(2, "a > %lf", 1.5));
  EXPECT_TRUE(holds(1, "a = %u", 1U));
}

TEST(PredicateEvaluation, RoundsNeitherSideOfAWholeAndARealNumber) {
  constexpr std::int64_t kBeyondDouble = (std::int64_t{1} << 53) + 1;

  EXPECT_FALSE(holds(kBeyondDouble, "a = %lf", 9007199254740992.0));
  EXPECT_TRUE(holds(kBeyondDouble, "a > %lf", 9007199254740992.0));
  EXPECT_TRUE(holds(std::numeric_limits<std::int64_t>::max(), "a < %lf", 9223372036854775808.0));
}

TEST(PredicateEvaluation, FindsNotANumberNeitherEqualNorOrdered) {
  const double nan = std::nan("");

  EXPECT_FALSE(holds(nan, "a = %@", nan));
  EXPECT_TRUE(holds(nan, "a != %@", nan));
  EXPECT_FALSE(holds(nan, "a < 1 OR a >= 1"));
}

TEST(PredicateEvaluation, ComparesDatesByAllTheirBits) {
  const Date date = Date::fromReference(1000.25);
  const Date next = Date::fromReference(std::nextafter(1000.25, 2000));

  EXPECT_TRUE(holds(date, "a = %@", date));
  EXPECT_TRUE(holds(date, "a < %@", next));
  EXPECT_FALSE(holds(date, "a >= %@", next));
}

TEST(PredicateEvaluation, ComparesTextsByBytes) {
  EXPECT_TRUE(holds("2024-02-10", "a >= '2024-02-10' AND a <= '2024-02-10'"));
  EXPECT_FALSE(holds("Day", "a = 'day'"));
  EXPECT_FALSE(holds("\xC3\xA9", "a = 'e\xCC\x81'"));
  EXPECT_TRUE(holds("\xC3\xA9", "a > 'z'"));
}

TEST(PredicateEvaluation, FindsValuesOfDifferentKindsUnequalAndUnordered) {
  EXPECT_FALSE(holds(1, "a = '1'"));
  EXPECT_TRUE(holds(1, "a != '1'"));
  EXPECT_FALSE(holds("2", "a > 1"));
  EXPECT_FALSE(holds(Date::fromReference(5), "a = 5"));
  EXPECT_FALSE(holds(UUID::empty(), "a = %@", UUID::empty().uuidString()));
}

TEST(PredicateEvaluation, ComparesIdentifiersAndBytes) {
  EXPECT_TRUE(holds(UUID::empty(), "a = %@", UUID::empty()));
  EXPECT_FALSE(holds(UUID::empty(), "a = %@", UUID()));
  EXPECT_TRUE(
      holds(Data::fromText("ab"), "a = %@ AND a < %@", Data::fromText("ab"), Data::fromText("b")));
}

TEST(PredicateEvaluation, ComparesObjectsByIdentityAndGivesThemNoOrder) {
  const auto one = object({});
  const auto other = object({});

  EXPECT_TRUE(holds(one, "a = %@", one));
  EXPECT_FALSE(holds(one, "a = %@", other));
  EXPECT_TRUE(holds(one, "a IN %@", ValueList{other, one}));
  EXPECT_FALSE(holds(one, "a <= %@", one));
  EXPECT_FALSE(holds(one, "a BETWEEN {%@, %@}", one, one));
}

TEST(PredicateEvaluation, MatchesPrefixSuffixAndPart) {
  EXPECT_TRUE(holds("2024-02-10", "a BEGINSWITH '2024-02'"));
  EXPECT_FALSE(holds("2024-02-10", "a BEGINSWITH '2024-02%%'"));
  EXPECT_FALSE(holds("2024", "a BEGINSWITH '2024-02'"));
  EXPECT_TRUE(holds("2024-02-10", "a ENDSWITH '-10' AND a CONTAINS '-02-'"));
  EXPECT_FALSE(holds("Abc", "a BEGINSWITH 'a'"));
  EXPECT_TRUE(holds("Abc", "a BEGINSWITH[c] 'aB' AND a CONTAINS[c] 'C' AND a =[c] 'aBC'"));
}

TEST(PredicateEvaluation, MatchesTheEmptyPrefixWithAnyTextButNotWithAbsent) {
  EXPECT_TRUE(holds("", "a BEGINSWITH ''"));
  EXPECT_TRUE(holds("x", "a BEGINSWITH %@", ""));
  EXPECT_FALSE(holds(nullptr, "a BEGINSWITH ''"));
  EXPECT_FALSE(holds("x", "a BEGINSWITH %@", nullptr));
}

TEST(PredicateEvaluation, FoldsLettersBeyondAsciiNever) {
  EXPECT_FALSE(holds("\xC3\x89", "a =[c] '\xC3\xA9'"));
}

TEST(PredicateEvaluation, MatchesLikeWithRunsAndSingleCharacters) {
  EXPECT_TRUE(holds("", "a LIKE '*'"));
  EXPECT_TRUE(holds("photo.jpg", "a LIKE '*.jp?'"));
  EXPECT_FALSE(holds("photo.jpeg", "a LIKE '*.jp?'"));
  EXPECT_TRUE(holds("\xEA\xB0\x80\xEB\x82\x98", "a LIKE '?\?'"));
  EXPECT_TRUE(holds("aXbXc", "a LIKE 'a*b*c'"));
  EXPECT_FALSE(holds("ABC", "a LIKE 'abc'"));
  EXPECT_TRUE(holds("ABC", "a LIKE[c] 'a*C'"));
  EXPECT_TRUE(holds("*", "a LIKE '\\\\*'"));
  EXPECT_FALSE(holds("x", "a LIKE '\\\\*'"));
  EXPECT_FALSE(holds("", "a LIKE '?'"));
}

TEST(PredicateEvaluation, FindsNothingInAnEmptyList) {
  EXPECT_FALSE(holds(1, "a IN %@", ValueList{}));
  EXPECT_FALSE(holds(nullptr, "a IN {}"));
  EXPECT_TRUE(holds(1, "NOT a IN {}"));
}

TEST(PredicateEvaluation, FindsAValueInAListByEquality) {
  EXPECT_TRUE(holds(10, "a IN %@", std::vector<std::int16_t>{0, 10, 10}));
  EXPECT_TRUE(holds(10, "a IN {0, 10.0}"));
  EXPECT_FALSE(holds(5, "a IN {0, 10}"));
  EXPECT_TRUE(holds("B", "a IN[c] {'a', 'b'}"));
  EXPECT_FALSE(holds(nullptr, "a IN {0, 10}"));
  EXPECT_TRUE(holds(nullptr, "a IN {0, nil}"));
}

TEST(PredicateEvaluation, TakesBothEndsOfBetween) {
  EXPECT_TRUE(holds("b", "a BETWEEN {'b', 'c'} AND a BETWEEN %@", ValueList{"a", "b"}));
  EXPECT_FALSE(holds("d", "a BETWEEN {'b', 'c'}"));
  EXPECT_FALSE(holds("b", "a BETWEEN {'c', 'a'}"));
  EXPECT_FALSE(holds(nullptr, "a BETWEEN {%@, %@}", "a", "z"));
  EXPECT_FALSE(holds("b", "a BETWEEN {%@, 'z'}", nullptr));
}

TEST(PredicateEvaluation, ReadsAnAbsentLinkAsAnAbsentValue) {
  const auto photo = object({{"checkin", nullptr}});

  EXPECT_FALSE(NSPredicate::format("checkin.activity.status = 0").evaluate(*photo));
  EXPECT_TRUE(NSPredicate::format("checkin.activity.status != 0").evaluate(*photo));
  EXPECT_TRUE(NSPredicate::format("checkin.activity.status = nil").evaluate(*photo));
}

TEST(PredicateEvaluation, FollowsLinks) {
  const auto activity = object({{"status", 1}});
  const auto photo =
      object({{"checkin", object({{"activity", activity}, {"date", "2024-02-10"}})}});

  EXPECT_TRUE(
      NSPredicate::format("checkin.activity = %@ AND checkin.activity.status = %d", activity, 1)
          .evaluate(*photo));
  EXPECT_TRUE(
      NSPredicate::format("(%@ <= checkin.date AND checkin.date <= %@)", "2024-02-01", "2024-02-29")
          .evaluate(*photo));
}

Ref<testing::TestObject> activityWithCheckins(std::initializer_list<Value> dates) {
  ValueList checkins;
  for (const Value& date : dates) checkins.emplace_back(object({{"date", date}}));
  return object({{"checkins", checkins}, {"best", "2024-01-02"}});
}

TEST(PredicateEvaluation, CountsTheMembersForWhichASubqueryHolds) {
  const auto activity = activityWithCheckins({"2024-01-01", "2024-01-02", "2024-02-01", nullptr});
  const auto holdsFor = [&](std::string_view rest) {
    return NSPredicate::format(
               "SUBQUERY(checkins, $c, $c.date BETWEEN {%@, %@}).@count " + std::string(rest),
               "2024-01-01", "2024-01-31")
        .evaluate(*activity);
  };

  EXPECT_TRUE(holdsFor("> 0"));
  EXPECT_TRUE(holdsFor("= 2"));
  EXPECT_FALSE(holdsFor("= 1"));
  EXPECT_TRUE(holdsFor("!= 1"));
  EXPECT_FALSE(holdsFor("< 2"));
  EXPECT_TRUE(holdsFor(">= 2"));
  EXPECT_TRUE(holdsFor("> -1"));
  EXPECT_TRUE(holdsFor("< 2.5"));
  EXPECT_TRUE(holdsFor("IN {1, 2}"));
}

TEST(PredicateEvaluation, ReadsTheOuterObjectInsideASubquery) {
  const auto activity = activityWithCheckins({"2024-01-01", "2024-01-02"});

  EXPECT_TRUE(
      NSPredicate::format("SUBQUERY(checkins, $c, $c.date = best).@count = 1").evaluate(*activity));
}

TEST(PredicateEvaluation, CountsNestedSubqueries) {
  const auto group =
      object({{"activities", ValueList{activityWithCheckins({"1", "2"}),
                                       activityWithCheckins({"2"}), activityWithCheckins({})}}});
  const auto predicate = NSPredicate::format(
      "SUBQUERY(activities, $a, SUBQUERY($a.checkins, $c, $c.date = %@).@count > 0).@count = %d",
      "2", 2);

  EXPECT_TRUE(predicate.evaluate(*group));
}

TEST(PredicateEvaluation, CountsMembers) {
  EXPECT_TRUE(
      NSPredicate::format("checkins.@count = 2").evaluate(*activityWithCheckins({"1", "2"})));
  EXPECT_TRUE(NSPredicate::format("checkins.@count = 0").evaluate(*activityWithCheckins({})));
  EXPECT_TRUE(holds(nullptr, "a.@count = 0"));
}

TEST(PredicateEvaluation, AsksForAnyAllOrNoneOfManyValues) {
  const auto activity = activityWithCheckins({"1", "2"});
  const auto empty = activityWithCheckins({});

  EXPECT_TRUE(NSPredicate::format("ANY checkins.date = '2'").evaluate(*activity));
  EXPECT_FALSE(NSPredicate::format("ALL checkins.date = '2'").evaluate(*activity));
  EXPECT_TRUE(NSPredicate::format("ALL checkins.date IN {'1', '2', '3'}").evaluate(*activity));
  EXPECT_TRUE(NSPredicate::format("NONE checkins.date = '3'").evaluate(*activity));
  EXPECT_FALSE(NSPredicate::format("ANY checkins.date != '3'").evaluate(*empty));
  EXPECT_TRUE(NSPredicate::format("ALL checkins.date = '3'").evaluate(*empty));
}

TEST(PredicateEvaluation, FindsAMemberOfAToMany) {
  const auto checkin = object({{"tags", ValueList{"a", "b"}}});
  const auto activity = object({{"checkins", ValueList{checkin}}});

  EXPECT_TRUE(NSPredicate::format("checkins CONTAINS %@", checkin).evaluate(*activity));
  EXPECT_TRUE(NSPredicate::format("%@ IN checkins", checkin).evaluate(*activity));
  EXPECT_FALSE(NSPredicate::format("%@ IN checkins", object({})).evaluate(*activity));
  EXPECT_TRUE(NSPredicate::format("'b' IN checkins.tags").evaluate(*activity));
}

TEST(PredicateEvaluation, JudgesDictionariesAndPlainValues) {
  EXPECT_TRUE(NSPredicate::format("name = 'x' AND other = nil")
                  .evaluate(Value(ValueDictionary{{"name", "x"}})));
  EXPECT_TRUE(NSPredicate::format("SELF > 2").evaluate(Value(3)));
}

TEST(PredicateEvaluation, PassesOnTheErrorOfAnUnknownKey) {
  EXPECT_THROW(static_cast<void>(NSPredicate::format("b = 1").evaluate(*object({{"a", 1}}))),
               Error);
  EXPECT_THROW(static_cast<void>(NSPredicate::format("a.b = 1").evaluate(*object({{"a", 1}}))),
               Error);
}

TEST(PredicateEvaluation, StopsAtTheFirstPartThatDecides) {
  const auto subject = object({{"a", 1}});

  EXPECT_FALSE(NSPredicate::format("a = 2 AND unknown = 1").evaluate(*subject));
  EXPECT_TRUE(NSPredicate::format("a = 1 OR unknown = 1").evaluate(*subject));
}

TEST(PredicateEvaluation, JudgesAThousandLevelsOfNesting) {
  std::string format;
  for (int i = 0; i < 500; ++i) format += "NOT (a = 2 OR ";
  format += "a = 1";
  for (int i = 0; i < 500; ++i) format += ")";

  EXPECT_TRUE(holds(1, format));
}

TEST(PredicateEvaluation, JudgesTenThousandTerms) {
  std::string format = "a = 10000";
  for (int i = 1; i < 10000; ++i) format += " OR a = " + std::to_string(i);

  EXPECT_TRUE(holds(9999, format));
  EXPECT_FALSE(holds(0, format));
}

}  // namespace
}  // namespace foundation
