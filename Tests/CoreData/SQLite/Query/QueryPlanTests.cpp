#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/CoreData/SQLite/Query/HabitStore.h"

namespace {

using coredata::QueryOrder;
using coredata::QueryResult;
using coredata::QueryVariant;
using foundation::NSPredicate;
using foundation::Value;
using foundation::ValueList;
using testing::HasSubstr;
using testing::Not;

const Value kActivity = habits::object("Activity", 1);
const QueryVariant kKeys{QueryResult::keys, false, false, QueryOrder::none, {}};

template <typename... Arguments>
std::string plan(std::string_view entityName, std::string_view format, Arguments&&... arguments) {
  habits::Store store;
  return store.explanation(
      habits::fetch(entityName, NSPredicate::format(format, std::forward<Arguments>(arguments)...)),
      kKeys);
}

TEST(QueryPlan, FindsTheCheckinOfADayInTheIndexAlone) {
  EXPECT_THAT(plan("Checkin", "activity = %@ AND date = %@", kActivity, "2024-01-01"),
              HasSubstr("USING COVERING INDEX Checkin_byActivityAndDate (activity=? AND date=?)"));
}

TEST(QueryPlan, SearchesAMonthAsARange) {
  EXPECT_THAT(plan("Checkin", "activity = %@ AND date BEGINSWITH %@", kActivity, "2024-01"),
              HasSubstr("byActivityAndDate (activity=? AND date>? AND date<?)"));
}

TEST(QueryPlan, SearchesAPeriodAsARange) {
  EXPECT_THAT(plan("Checkin", "activity = %@ AND (%@ <= date AND date <= %@)", kActivity, "a", "b"),
              HasSubstr("byActivityAndDate (activity=? AND date>? AND date<?)"));
  EXPECT_THAT(plan("Checkin", "activity = %@ AND date BETWEEN {%@, %@}", kActivity, "a", "b"),
              HasSubstr("byActivityAndDate (activity=? AND date>? AND date<?)"));
}

TEST(QueryPlan, FiltersTypesInsideTheIndex) {
  const std::string text = plan("Checkin", "activity = %@ AND date BEGINSWITH %@ AND type IN %@",
                                kActivity, "2024-01", ValueList{0, 10});

  EXPECT_THAT(text, HasSubstr("COVERING INDEX Checkin_byActivityAndDate (activity=? AND date>?"));
  EXPECT_THAT(text, Not(HasSubstr("SUBQUERY")));
}

TEST(QueryPlan, SearchesTheIndexForEachMemberOfAList) {
  EXPECT_THAT(plan("Checkin", "activity IN %@", ValueList{kActivity, kActivity, kActivity}),
              HasSubstr("byActivityAndDate (activity=?)"));
  EXPECT_THAT(plan("Checkin", "activity IN %@", ValueList(20, kActivity)),
              HasSubstr("byActivityAndDate (activity=?)"));
}

TEST(QueryPlan, FindsObjectsByTheirKeys) {
  EXPECT_THAT(plan("Activity", "SELF = %@", kActivity), HasSubstr("INTEGER PRIMARY KEY (rowid=?)"));
  EXPECT_THAT(plan("Activity", "SELF IN %@", ValueList(20, kActivity)),
              HasSubstr("INTEGER PRIMARY KEY (rowid=?)"));
}

TEST(QueryPlan, AsksTheIndexWhetherThereIsAMember) {
  EXPECT_THAT(
      plan("Activity",
           "status == %d AND (createdDate <= %@ OR "
           "SUBQUERY(checkins, $checkin, $checkin.date BETWEEN {%@, %@}).@count > 0)",
           0, foundation::Date::distantFuture(), "a", "b"),
      HasSubstr("COVERING INDEX Checkin_byActivityAndDate (activity=? AND date>? AND date<?)"));
}

TEST(QueryPlan, StartsFromTheJoinedTableWhereThatIsCheaper) {
  EXPECT_THAT(plan("Checkin", "activity.status = %d", 0),
              HasSubstr("SEARCH t1 USING COVERING INDEX Activity_byStatus"));
}

TEST(QueryPlan, GoesFromTheObjectThatAPathMustLeadTo) {
  const std::string steps = plan("Photo", "checkin.activity = %@", kActivity);

  EXPECT_THAT(steps, HasSubstr("SEARCH t1 USING COVERING INDEX"));
  EXPECT_THAT(steps, HasSubstr("SEARCH t0 USING COVERING INDEX Photo_byCheckin (checkin=?)"));
}

TEST(QueryPlan, TakesTheOrderFromTheIndex) {
  habits::Store store;
  const habits::Fetch fetch =
      habits::fetch("Checkin", NSPredicate::format("activity = %@", kActivity), {{"date", false}});

  EXPECT_THAT(store.explanation(fetch, {QueryResult::rows, false, false, QueryOrder::sorts, {}}),
              Not(HasSubstr("USE TEMP B-TREE")));
}

}  // namespace
