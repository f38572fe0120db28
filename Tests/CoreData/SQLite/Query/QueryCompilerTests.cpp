#include "CoreData/SQLite/Query/QueryCompiler.h"

#include <gtest/gtest.h>

#include "Foundation/Values/Error.h"
#include "Tests/CoreData/SQLite/Query/HabitModel.h"

namespace {

using coredata::Aggregate;
using coredata::FetchPlan;
using coredata::QueryOrder;
using coredata::QueryResult;
using coredata::QueryVariant;
using foundation::NSPredicate;
using foundation::Ref;
using foundation::Value;
using foundation::ValueList;

std::string sql(const FetchPlan& plan, const QueryVariant& variant) {
  return coredata::compileQuery(plan, variant).sql;
}

struct Dictionary {
  std::vector<coredata::SortTerm> sorts = {};
  std::vector<coredata::FetchColumn> columns = {};
  std::vector<coredata::ResolvedPath> grouping = {};
  bool distinct = false;
};

std::string dictionarySql(const Dictionary& wanted) {
  FetchPlan::Form form;
  form.entity = &habits::entity("Checkin");
  form.sorts = wanted.sorts;
  form.columns = wanted.columns;
  form.grouping = wanted.grouping;
  form.distinct = wanted.distinct;
  return sql(*foundation::make<const FetchPlan>(std::move(form)),
             {QueryResult::dictionaries, false, false, QueryOrder::complete, {}});
}

coredata::ResolvedPath path(std::string_view keyPath) {
  return coredata::resolvePath(habits::entity("Checkin"), keyPath);
}

coredata::FetchColumn shown(std::string_view keyPath, Aggregate aggregate = Aggregate::none) {
  return {std::string(keyPath), path(keyPath), aggregate, coredata::NSAttributeType::undefined};
}

TEST(QueryCompiler, ReadsRowsInTheOrderOfTheirSlots) {
  EXPECT_EQ(
      sql(*habits::everything("Photo"), {QueryResult::rows, false, false, QueryOrder::none, {}}),
      R"(SELECT t0.* FROM "Photo" t0)");
}

TEST(QueryCompiler, TellsWhichQueriesCallFunctions) {
  const auto calls = [](const NSPredicate& predicate) {
    const QueryVariant keys{QueryResult::keys, false, false, QueryOrder::none, {}};
    return habits::compiled(habits::fetch("Photo", predicate), keys).callsFunctions;
  };

  EXPECT_FALSE(calls(NSPredicate::format("size = %d AND name BEGINSWITH %@", 1, "a")));
  EXPECT_FALSE(calls(NSPredicate::format("size IN %@", ValueList{1, 2})));
  EXPECT_TRUE(calls(NSPredicate::format("size IN %@", ValueList(100, Value(1)))));
  EXPECT_TRUE(calls(NSPredicate::format("name CONTAINS %@", "a")));
  EXPECT_TRUE(calls(NSPredicate::format("name =[c] %@", "a")));
  EXPECT_TRUE(calls(NSPredicate::format("name IN[c] %@", ValueList{"a", "b"})));
}

TEST(QueryCompiler, SortsByKeyWithoutASort) {
  EXPECT_EQ(
      sql(*habits::everything("Photo"), {QueryResult::keys, true, true, QueryOrder::complete, {}}),
      R"(SELECT t0._id FROM "Photo" t0 ORDER BY t0._id LIMIT ?1 OFFSET ?2)");
}

TEST(QueryCompiler, NumbersTheCutBehindTheArguments) {
  const habits::Fetch fetch =
      habits::fetch("Photo", NSPredicate::format("name = %@", "x"), {{"size", false}});

  EXPECT_EQ(habits::compiled(fetch, {QueryResult::keys, true, true, QueryOrder::complete, {}}).sql,
            R"(SELECT t0._id FROM "Photo" t0 WHERE t0."name" IS ?1 )"
            R"(ORDER BY t0."size" DESC, t0._id LIMIT ?2 OFFSET ?3)");
}

TEST(QueryCompiler, GivesWhatItSortsByBesideTheKey) {
  const auto plan = habits::everything("Photo", {{"size", false}, {"name", true}});

  EXPECT_EQ(
      sql(*plan, {QueryResult::sortedKeys, false, false, QueryOrder::sorts, {}}),
      R"(SELECT t0._id, t0."size", t0."name" FROM "Photo" t0 ORDER BY t0."size" DESC, t0."name")");
}

TEST(QueryCompiler, WritesAnOffsetAlone) {
  EXPECT_EQ(
      sql(*habits::everything("Photo"), {QueryResult::keys, false, true, QueryOrder::none, {}}),
      R"(SELECT t0._id FROM "Photo" t0 LIMIT -1 OFFSET ?1)");
}

TEST(QueryCompiler, SortsThroughOuterJoins) {
  const auto plan =
      habits::everything("Photo", {{"checkin.activity.title", true}, {"checkin", false}});

  EXPECT_EQ(sql(*plan, {QueryResult::keys, false, false, QueryOrder::complete, {}}),
            R"(SELECT t0._id FROM "Photo" t0 LEFT JOIN "Checkin" t1 ON t1._id = t0."checkin" )"
            R"(LEFT JOIN "Activity" t2 ON t2._id = t1."activity" )"
            R"(ORDER BY t2."title", t0."checkin" DESC, t0._id)");
}

TEST(QueryCompiler, CountsWithoutSorting) {
  const auto plan = habits::everything("Photo", {{"checkin.date", true}});

  EXPECT_EQ(sql(*plan, {QueryResult::number, false, false, QueryOrder::complete, {}}),
            R"(SELECT count(*) FROM "Photo" t0)");
}

TEST(QueryCompiler, StopsCountingAtALimit) {
  const habits::Fetch fetch =
      habits::fetch("Checkin", NSPredicate::format("activity = %@ AND date = %@",
                                                   habits::object("Activity", 1), "2024-01-01"));

  const std::string all =
      R"(SELECT 1 FROM "Checkin" t0 WHERE t0."activity" IS ?1 AND t0."date" IS ?2)";
  EXPECT_EQ(
      habits::compiled(fetch, {QueryResult::existence, false, false, QueryOrder::none, {}}).sql,
      all + " LIMIT 1");
  EXPECT_EQ(habits::compiled(fetch, {QueryResult::ticks, true, false, QueryOrder::none, {}}).sql,
            all + " LIMIT ?3");
}

TEST(QueryCompiler, TakesTheSumOfNothingForZero) {
  EXPECT_EQ(dictionarySql({.columns = {shown("count", Aggregate::sum)}}),
            R"(SELECT total(t0."count") FROM "Checkin" t0)");
}

TEST(QueryCompiler, WritesEveryAggregate) {
  EXPECT_EQ(
      dictionarySql(
          {.columns = {shown("count", Aggregate::minimum), shown("date", Aggregate::maximum),
                       shown("count", Aggregate::average), shown("activity", Aggregate::count)}}),
      R"(SELECT min(t0."count"), max(t0."date"), avg(t0."count"), count(t0."activity") )"
      R"(FROM "Checkin" t0)");
}

TEST(QueryCompiler, OrdersGroupsByWhatTheyAreGroupedBy) {
  EXPECT_EQ(dictionarySql({.sorts = {{path("type"), false}},
                           .columns = {shown("date"), shown("count", Aggregate::sum)},
                           .grouping = {path("date"), path("type")}}),
            R"(SELECT t0."date", total(t0."count") FROM "Checkin" t0 )"
            R"(GROUP BY t0."date", t0."type" ORDER BY t0."type" DESC, t0."date")");
}

TEST(QueryCompiler, PutsDistinctRowsWhereTheFirstOfThemStands) {
  EXPECT_EQ(dictionarySql({.columns = {shown("date")}, .distinct = true}),
            R"(SELECT t0."date" FROM "Checkin" t0 GROUP BY t0."date" ORDER BY min(t0._id))");
  EXPECT_EQ(dictionarySql(
                {.sorts = {{path("count"), false}}, .columns = {shown("date")}, .distinct = true}),
            R"(SELECT t0."date" FROM "Checkin" t0 GROUP BY t0."date" )"
            R"(ORDER BY max(t0."count") DESC, min(t0._id))");
}

TEST(QueryCompiler, ReadsDictionariesThroughPaths) {
  EXPECT_EQ(dictionarySql({.columns = {shown("activity.title"), shown("date")}}),
            R"(SELECT t1."title", t0."date" FROM "Checkin" t0 )"
            R"(LEFT JOIN "Activity" t1 ON t1._id = t0."activity" ORDER BY t0._id)");
}

TEST(QueryCompiler, RefusesWhatIsTooDeepForTheStore) {
  std::string format = "score = 1";
  for (int i = 0; i < 200; ++i) format = "status = 1 AND (title = 'x' OR (" + format + "))";

  EXPECT_THROW((void)habits::condition("Activity", format), foundation::Error);
}

TEST(QueryCompiler, KnowsWhenAnIndexGivesTheOrder) {
  const auto givesOrder = [](const char* format, const habits::Sorts& sorts) {
    return coredata::indexGivesOrder(
        *habits::fetch("Checkin", NSPredicate::format(format, habits::object("Activity", 1)), sorts)
             .plan);
  };

  EXPECT_TRUE(givesOrder("activity = %@", {{"date", true}}));
  EXPECT_TRUE(givesOrder("activity = %@ AND count > 1", {{"date", false}, {"type", false}}));
  EXPECT_FALSE(givesOrder("activity = %@", {{"type", true}}));
  EXPECT_FALSE(givesOrder("activity = %@", {{"date", true}, {"type", false}}));
  EXPECT_FALSE(givesOrder("activity != %@", {{"date", true}}));
  EXPECT_FALSE(givesOrder("activity = %@ OR type = 1", {{"date", true}}));
}

}  // namespace
