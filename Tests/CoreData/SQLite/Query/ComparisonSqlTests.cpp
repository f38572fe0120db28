#include <gtest/gtest.h>

#include <algorithm>

#include "Foundation/Values/Error.h"
#include "Tests/CoreData/SQLite/Query/HabitModel.h"

namespace {

using foundation::Data;
using foundation::Date;
using foundation::NSPredicate;
using foundation::UUID;
using foundation::Value;
using foundation::ValueList;
using habits::condition;

TEST(ComparisonSql, TiesAColumnToAnArgumentThatMayBeAbsent) {
  EXPECT_EQ(condition("Activity", "title = %@", "Run"), R"(t0."title" IS ?1)");
  EXPECT_EQ(condition("Activity", "title != %@", "Run"), R"(t0."title" IS NOT ?1)");
}

TEST(ComparisonSql, AsksForNullWhereTheFormatSaysNil) {
  EXPECT_EQ(condition("Activity", "group = nil"), R"(t0."group" IS NULL)");
  EXPECT_EQ(condition("Activity", "nil != group"), R"(t0."group" IS NOT NULL)");
}

TEST(ComparisonSql, ComparesObjectsByTheKeyInTheColumn) {
  EXPECT_EQ(condition("Checkin", "activity = %@", habits::object("Activity", 1)),
            R"(t0."activity" IS ?1)");
}

TEST(ComparisonSql, ComparesTheObjectItselfByItsKey) {
  EXPECT_EQ(condition("Checkin", "SELF = %@", habits::object("Checkin", 1)), "t0._id IS ?1");
}

TEST(ComparisonSql, OrdersByPlainOperators) {
  EXPECT_EQ(condition("Activity", "score < %ld AND score <= 5 AND score > 1 AND score >= 0",
                      std::int64_t{7}),
            R"(t0."score" < ?1 AND t0."score" <= ?2 AND t0."score" > ?3 AND t0."score" >= ?4)");
}

TEST(ComparisonSql, PutsTheColumnOnTheLeft) {
  EXPECT_EQ(condition("Checkin", "%@ <= date AND date <= %@", "2024-01-01", "2024-01-31"),
            R"(t0."date" >= ?1 AND t0."date" <= ?2)");
}

TEST(ComparisonSql, NeverOrdersWhatHasNoOrder) {
  EXPECT_EQ(condition("Checkin", "activity < %@", habits::object("Activity", 1)), "0");
  EXPECT_EQ(condition("Checkin", "NOT (activity < %@)", habits::object("Activity", 1)), "1");
  EXPECT_EQ(condition("Checkin", "date > nil"), "0");
}

TEST(ComparisonSql, ComparesColumnsOfOneKind) {
  EXPECT_EQ(condition("Activity", "score = weight"), R"(t0."score" IS t0."weight")");
  EXPECT_EQ(condition("Activity", "status < score"), R"(t0."status" < t0."score")");
}

TEST(ComparisonSql, FindsColumnsOfTwoKindsEqualOnlyWhenBothAreAbsent) {
  EXPECT_EQ(condition("Activity", "title = score"), R"(t0."title" IS NULL AND t0."score" IS NULL)");
  EXPECT_EQ(condition("Activity", "title != createdDate"),
            R"((t0."title" IS NULL AND t0."createdDate" IS NULL) IS NOT TRUE)");
  EXPECT_EQ(condition("Activity", "title < score"), "0");
}

TEST(ComparisonSql, TurnsEqualityRoundUnderNot) {
  EXPECT_EQ(condition("Activity", "NOT (status = %d)", 1), R"(t0."status" IS NOT ?1)");
  EXPECT_EQ(condition("Activity", "NOT NOT (status = %d)", 1), R"(t0."status" IS ?1)");
}

TEST(ComparisonSql, WrapsAnOrderOnlyUnderNot) {
  EXPECT_EQ(condition("Activity", "NOT (status < %d)", 1), R"((t0."status" < ?1) IS NOT TRUE)");
}

TEST(ComparisonSql, CarriesNotThroughAndAndOr) {
  EXPECT_EQ(
      condition("Activity", "NOT (status = 1 OR (status = 2 AND score < 3))"),
      R"(t0."status" IS NOT ?1 AND (t0."status" IS NOT ?2 OR (t0."score" < ?3) IS NOT TRUE))");
}

TEST(ComparisonSql, BracketsOrInsideAndAlone) {
  EXPECT_EQ(condition("Activity", "status = 1 AND (score = 2 OR score = 3)"),
            R"(t0."status" IS ?1 AND (t0."score" IS ?2 OR t0."score" IS ?3))");
  EXPECT_EQ(condition("Activity", "status = 1 OR (score = 2 AND weight = 3)"),
            R"(t0."status" IS ?1 OR t0."score" IS ?2 AND t0."weight" IS ?3)");
}

TEST(ComparisonSql, TurnsAPrefixIntoARange) {
  EXPECT_EQ(condition("Checkin", "date BEGINSWITH %@", "2024-01"),
            R"(t0."date" >= ?1 AND t0."date" < ?2)");
  EXPECT_EQ(condition("Checkin", "NOT (date BEGINSWITH %@)", "2024-01"),
            R"((t0."date" >= ?1 AND t0."date" < ?2) IS NOT TRUE)");
}

TEST(ComparisonSql, MatchesOtherTextsByFunctions) {
  EXPECT_EQ(condition("Activity", "title ENDSWITH %@", "x"), R"(text_ends(t0."title", ?1))");
  EXPECT_EQ(condition("Activity", "title CONTAINS 'x'"), R"(text_contains(t0."title", ?1))");
  EXPECT_EQ(condition("Activity", "title LIKE 'x*'"), R"(text_like(t0."title", ?1))");
  EXPECT_EQ(condition("Activity", "title BEGINSWITH[c] 'x'"),
            R"(text_begins_folded(t0."title", ?1))");
  EXPECT_EQ(condition("Activity", "title =[c] 'x'"), R"(text_equals_folded(t0."title", ?1))");
  EXPECT_EQ(condition("Activity", "title !=[c] 'x'"), R"(NOT text_equals_folded(t0."title", ?1))");
  EXPECT_EQ(condition("Activity", "%@ BEGINSWITH title", "x"), R"(text_begins(?1, t0."title"))");
}

TEST(ComparisonSql, FindsNoTextInOtherKinds) {
  EXPECT_EQ(condition("Activity", "createdDate BEGINSWITH %@", "x"), "0");
  EXPECT_EQ(condition("Activity", "NOT (score CONTAINS %@)", "x"), "1");
}

TEST(ComparisonSql, TakesBothEndsOfBetween) {
  EXPECT_EQ(condition("Checkin", "date BETWEEN {%@, %@}", "a", "b"),
            R"(t0."date" BETWEEN ?1 AND ?2)");
  EXPECT_EQ(condition("Checkin", "date BETWEEN %@", ValueList{"a", "b"}),
            R"(t0."date" BETWEEN ?1 AND ?2)");
  EXPECT_EQ(condition("Checkin", "NOT (date BETWEEN {%@, %@})", "a", "b"),
            R"((t0."date" BETWEEN ?1 AND ?2) IS NOT TRUE)");
  EXPECT_EQ(condition("Activity", "score BETWEEN {status, 5}"),
            R"(t0."score" >= t0."status" AND t0."score" <= ?1)");
}

TEST(ComparisonSql, DecidesWhatReadsNoColumnBeforeTheRun) {
  EXPECT_EQ(condition("Activity", "%@ = %@", 1, 2), "?1");
  EXPECT_EQ(condition("Activity", "NOT (1 IN {1, 2})"), "NOT ?1");
}

TEST(ComparisonSql, WritesConstantPredicatesOut) {
  EXPECT_EQ(condition("Activity", "TRUEPREDICATE"), "1");
  EXPECT_EQ(condition("Activity", "NOT TRUEPREDICATE"), "0");
}

TEST(ComparisonSql, ReadsPathsThroughOuterJoins) {
  const auto query =
      habits::compiled(habits::fetch("Photo", NSPredicate::format("checkin.activity.status = nil")),
                       {coredata::QueryResult::keys, false, false, coredata::QueryOrder::none, {}});

  EXPECT_EQ(query.sql,
            R"(SELECT t0._id FROM "Photo" t0 LEFT JOIN "Checkin" t1 ON t1._id = t0."checkin" )"
            R"(LEFT JOIN "Activity" t2 ON t2._id = t1."activity" WHERE t2."status" IS NULL)");
}

TEST(ComparisonSql, SharesTheJoinsOfPathsThatBeginAlike) {
  const auto query = habits::compiled(
      habits::fetch("Photo", NSPredicate::format("checkin.date = %@ AND checkin.activity = %@",
                                                 "2024-01-01", habits::object("Activity", 1))),
      {coredata::QueryResult::keys, false, false, coredata::QueryOrder::none, {}});

  EXPECT_EQ(query.sql,
            R"(SELECT t0._id FROM "Photo" t0 LEFT JOIN "Checkin" t1 ON t1._id = t0."checkin" )"
            R"(WHERE t1."date" = ?1 AND t1."activity" = ?2)");
}

TEST(ComparisonSql, LetsANumberShowThatAJoinedRowIsThere) {
  EXPECT_EQ(condition("Checkin", "activity.status = %d", 1), R"(t1."status" = ?1)");
  EXPECT_EQ(condition("Checkin", "activity.status != %d", 1), R"(t1."status" IS NOT ?1)");
}

TEST(ComparisonSql, LetsAValueShowThatAJoinedRowIsThereWhenItIsPresent) {
  const foundation::Value absent;

  EXPECT_EQ(condition("Checkin", "activity.title = %@", "Run"), R"(t1."title" = ?1)");
  EXPECT_EQ(condition("Checkin", "activity.title = %@", absent), R"(t1."title" IS ?1)");
  EXPECT_EQ(condition("Checkin", "activity.title != %@", "Run"), R"(t1."title" IS NOT ?1)");
}

TEST(ComparisonSql, KeepsValuesAndNamesApart) {
  const std::string hostile = "x\" OR 1=1; --";
  EXPECT_EQ(condition("Activity", "title = %@", hostile), R"(t0."title" IS ?1)");
  EXPECT_THROW((void)condition("Activity", "%K = 1", "title\" OR 1=1"), foundation::Error);
}

TEST(ComparisonSql, GroupsLongRowsSoThatTheyStayFlat) {
  std::string format = "score = 0";
  for (int i = 1; i < 1000; ++i) format += " OR score = " + std::to_string(i);

  const std::string sql = condition("Activity", format);

  EXPECT_EQ(sql.substr(0, 19), R"((t0."score" IS ?1 O)");
  EXPECT_EQ(std::ranges::count(sql, '('), 5);
}

}  // namespace
