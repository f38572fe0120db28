#include <gtest/gtest.h>

#include "Tests/CoreData/SQLite/Query/HabitModel.h"

namespace {

using foundation::Value;
using foundation::ValueList;
using habits::condition;

const std::string kOwnCheckins = R"( FROM "Checkin" t1 WHERE t1."activity" = t0._id)";

TEST(MemberSql, WritesShortListsOut) {
  EXPECT_EQ(condition("Checkin", "type IN %@", ValueList{1}), R"(t0."type" IN (?1))");
  EXPECT_EQ(condition("Checkin", "type IN %@", ValueList{1, 2}), R"(t0."type" IN (?1, ?2))");
}

TEST(MemberSql, PadsListsSoThatLengthsShareStatements) {
  EXPECT_EQ(condition("Checkin", "type IN %@", ValueList{1, 2, 3}),
            R"(t0."type" IN (?1, ?2, ?3, ?4))");
  EXPECT_EQ(condition("Checkin", "type IN %@", ValueList{1, 2, 3, 4, 5}),
            R"(t0."type" IN (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8))");
}

TEST(MemberSql, HandsLongListsOverAsTables) {
  EXPECT_EQ(condition("Checkin", "type IN %@", ValueList(9, Value(1))),
            R"(t0."type" IN (SELECT value FROM list_members(?1)))");
}

TEST(MemberSql, FindsNothingInAnEmptyList) {
  EXPECT_EQ(condition("Checkin", "type IN %@", ValueList{}), "0");
  EXPECT_EQ(condition("Checkin", "NOT (type IN %@)", ValueList{}), "1");
}

TEST(MemberSql, AsksForNullWhenTheListHasAnAbsentMember) {
  EXPECT_EQ(condition("Checkin", "type IN %@", ValueList{1, nullptr}),
            R"(t0."type" IN (?1) OR t0."type" IS NULL)");
  EXPECT_EQ(condition("Checkin", "type IN %@", ValueList{nullptr}), R"(t0."type" IS NULL)");
}

TEST(MemberSql, WrapsAListUnderNot) {
  EXPECT_EQ(condition("Checkin", "NOT (type IN %@)", ValueList{1}),
            R"((t0."type" IN (?1)) IS NOT TRUE)");
}

TEST(MemberSql, ComparesWithTheElementsOfABracedList) {
  EXPECT_EQ(condition("Checkin", "type IN {1, 2, 3}"), R"(t0."type" IN (?1, ?2, ?3))");
  EXPECT_EQ(condition("Checkin", "type IN {1, nil}"), R"(t0."type" IN (?1) OR t0."type" IS NULL)");
  EXPECT_EQ(condition("Checkin", "type IN {1, %@}", foundation::Value()),
            R"(t0."type" IN (?1) OR t0."type" IS ?2)");
  EXPECT_EQ(condition("Checkin", "type IN {1, %@}", 2), R"(t0."type" IN (?1, ?2))");
  EXPECT_EQ(condition("Checkin", "type IN {}"), "0");
}

TEST(MemberSql, FoldsCaseMemberByMember) {
  EXPECT_EQ(condition("Checkin", "date IN[c] %@", ValueList{"a"}),
            "EXISTS (SELECT 1 FROM list_members(?1) "
            R"(WHERE text_equals_folded(value, t0."date")))");
}

TEST(MemberSql, LeavesOpenWhetherAnArgumentIsAListOrAText) {
  EXPECT_EQ(condition("Checkin", "%@ CONTAINS date", "2024"),
            R"(EXISTS (SELECT 1 FROM list_members(?2) WHERE value IS t0."date") )"
            R"(OR text_contains(?1, t0."date"))");
}

TEST(MemberSql, CountsMembers) {
  EXPECT_EQ(condition("Activity", "checkins.@count > 3"),
            "(SELECT count(*)" + kOwnCheckins + ") > ?1");
}

TEST(MemberSql, AsksOnlyForExistenceWhereThatIsAllThatMatters) {
  const std::string exists = "EXISTS (SELECT 1" + kOwnCheckins + ")";

  EXPECT_EQ(condition("Activity", "checkins.@count > 0"), exists);
  EXPECT_EQ(condition("Activity", "checkins.@count >= 1"), exists);
  EXPECT_EQ(condition("Activity", "checkins.@count != 0"), exists);
  EXPECT_EQ(condition("Activity", "checkins.@count == 0"), "NOT " + exists);
  EXPECT_EQ(condition("Activity", "checkins.@count < 1"), "NOT " + exists);
  EXPECT_EQ(condition("Activity", "NOT (checkins.@count > 0)"), "NOT " + exists);
}

TEST(MemberSql, TranslatesSubqueries) {
  EXPECT_EQ(condition("Activity", "SUBQUERY(checkins, $c, $c.date BETWEEN {%@, %@}).@count > 0",
                      "a", "b"),
            "EXISTS (SELECT 1" + kOwnCheckins + R"( AND t1."date" BETWEEN ?1 AND ?2))");
  EXPECT_EQ(
      condition("Activity", "SUBQUERY(checkins, $c, $c.type = 1 OR $c.type = 2).@count = 2"),
      "(SELECT count(*)" + kOwnCheckins + R"( AND (t1."type" IS ?1 OR t1."type" IS ?2)) IS ?3)");
}

TEST(MemberSql, LetsASubqueryReadTheObjectAroundIt) {
  EXPECT_EQ(condition("Activity", "SUBQUERY(checkins, $c, $c.type = status).@count > 0"),
            "EXISTS (SELECT 1" + kOwnCheckins + R"( AND t1."type" IS t0."status"))");
}

TEST(MemberSql, JoinsInsideTheSubqueryThatReadsThePath) {
  EXPECT_EQ(
      condition("Group", "SUBQUERY(activities, $a, $a.parent.status = 1).@count > 0"),
      R"(EXISTS (SELECT 1 FROM "Activity" t1 LEFT JOIN "Activity" t2 ON t2._id = t1."parent" )"
      R"(WHERE t1."group" = t0._id AND t2."status" = ?1))");
}

TEST(MemberSql, TranslatesAnyAndAll) {
  EXPECT_EQ(condition("Activity", "ANY checkins.date = %@", "a"),
            "EXISTS (SELECT 1" + kOwnCheckins + R"( AND t1."date" IS ?1))");
  EXPECT_EQ(condition("Activity", "ALL checkins.type < 3"),
            "NOT EXISTS (SELECT 1" + kOwnCheckins + R"( AND (t1."type" < ?1) IS NOT TRUE))");
  EXPECT_EQ(condition("Activity", "NONE checkins.type = 3"),
            "NOT EXISTS (SELECT 1" + kOwnCheckins + R"( AND t1."type" IS ?1))");
}

TEST(MemberSql, FollowsSeveralToManys) {
  EXPECT_EQ(condition("Activity", "ANY checkins.photos.name = 'x'"),
            R"(EXISTS (SELECT 1 FROM "Checkin" t1 JOIN "Photo" t2 ON t2."checkin" = t1._id )"
            R"(WHERE t1."activity" = t0._id AND t2."name" IS ?1))");
  EXPECT_EQ(condition("Activity", "children.children.@count > 0"),
            R"(EXISTS (SELECT 1 FROM "Activity" t1 JOIN "Activity" t2 ON t2."parent" = t1._id )"
            R"(WHERE t1."parent" = t0._id))");
}

TEST(MemberSql, ReadsMembersOfALinkedObject) {
  EXPECT_EQ(condition("Checkin", "activity.checkins.@count > 0"),
            R"(EXISTS (SELECT 1 FROM "Checkin" t1 WHERE t1."activity" = t2._id))");
}

TEST(MemberSql, LooksForAMember) {
  const std::string exists = "EXISTS (SELECT 1" + kOwnCheckins + " AND t1._id IS ?1)";

  EXPECT_EQ(condition("Activity", "checkins CONTAINS %@", habits::object("Checkin", 1)), exists);
  EXPECT_EQ(condition("Activity", "%@ IN checkins", habits::object("Checkin", 1)), exists);
  EXPECT_EQ(condition("Activity", "NOT (%@ IN checkins)", habits::object("Checkin", 1)),
            "NOT " + exists);
}

TEST(MemberSql, FindsAToManyAbsentOnlyWithItsOwner) {
  EXPECT_EQ(condition("Activity", "checkins = nil"), "t0._id IS NULL");
  EXPECT_EQ(condition("Checkin", "activity.checkins = nil"), "t1._id IS NULL");
}

}  // namespace
