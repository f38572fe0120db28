#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <memory>

#include "CoreData/SQLite/StoreCore.h"
#include "Tests/CoreDataStack/Queries/Diary.h"
#include "Tests/Support/LocalDate.h"
#include "Tests/Support/SqlTrace.h"

// What SQLite is asked by each query, and how it goes about it.

namespace coredatastack {
namespace {

using domain::ActivityStatus;
using domain::CalendarItem;
using domain::CheckinType;
using domain::DateFormat;
using foundation::Date;
using foundation::Ref;
using support::localDate;

using Steps = std::vector<std::string>;

const API::CheckinTypes kBothTypes{{CheckinType::standard, CheckinType::alternate}};

/// What the queries are asked about.
struct Subject {
  Ref<CDActivity> run;
  Ref<CDGroup> group;
  Date day;
};

const std::string kSorts = "USE TEMP B-TREE FOR ORDER BY";

/// Check-ins are found by those columns of their index, and nothing but the index is read.
std::string inIndex(const std::string& table, const std::string& columns) {
  return "SEARCH " + table + " USING COVERING INDEX Checkin_byActivityAndDate (" + columns + ")";
}
std::string byKey(const std::string& table) {
  return "SEARCH " + table + " USING INTEGER PRIMARY KEY (rowid=?)";
}
/// The same for an object that may be missing.
std::string linked(const std::string& table) { return byKey(table) + " LEFT-JOIN"; }

struct Pin {
  std::string name;
  std::function<void(const API& api, const Subject& about)> ask;
  std::string sql;
  Steps plan;
};

const std::vector<Pin>& pins() {
  static const std::vector<Pin> all = {
      {"checkins",
       [](const API& api, const Subject& its) { (void)api.checkins(its.run); },
       R"(SELECT t0.* FROM "Checkin" t0 WHERE t0."activity" IS ?1 AND t0."type" IN (?2) )"
       R"(ORDER BY t0."date")",
       {inIndex("t0", "activity=?")}},
      {"checkinsOfAllTypes",
       [](const API& api, const Subject& its) { (void)api.checkins(its.run, kAllTypes); },
       R"(SELECT t0.* FROM "Checkin" t0 WHERE t0."activity" IS ?1 )"
       R"(ORDER BY t0."date")",
       {inIndex("t0", "activity=?")}},
      {"checkinsOfAYear",
       [](const API& api, const Subject& its) {
         (void)api.checkins(its.run, its.day, DateFormat::year);
       },
       R"(SELECT t0.* FROM "Checkin" t0 )"
       R"(WHERE t0."activity" IS ?1 AND t0."date" >= ?2 AND t0."date" < ?3 AND t0."type" IN (?4))",
       {inIndex("t0", "activity=? AND date>? AND date<?")}},
      {"checkinsOfAMonth",
       [](const API& api, const Subject& its) {
         (void)api.checkins(its.run, kBothTypes, its.day, DateFormat::month);
       },
       R"(SELECT t0.* FROM "Checkin" t0 )"
       R"(WHERE t0."activity" IS ?1 AND t0."date" >= ?2 AND t0."date" < ?3 AND t0."type" IN (?4, ?5))",
       {inIndex("t0", "activity=? AND date>? AND date<?")}},
      {"checkinsOfADay",
       [](const API& api, const Subject& its) {
         (void)api.checkins(its.run, its.day, DateFormat::day);
       },
       R"(SELECT t0.* FROM "Checkin" t0 )"
       R"(WHERE t0."activity" IS ?1 AND t0."date" IS ?2 AND t0."type" IN (?3))",
       {inIndex("t0", "activity=? AND date=? AND type=?")}},
      {"checkinsOfAPeriod",
       [](const API& api, const Subject& its) {
         (void)api.checkins(its.run, kAllTypes, its.day, its.day);
       },
       R"(SELECT t0.* FROM "Checkin" t0 )"
       R"(WHERE t0."activity" IS ?1 AND t0."date" >= ?2 AND t0."date" <= ?3)",
       {inIndex("t0", "activity=? AND date>? AND date<?")}},
      {"checkinExists",
       [](const API& api, const Subject& its) { (void)api.checkinExists(its.day, its.run); },
       R"(SELECT 1 FROM "Checkin" t0 WHERE t0."activity" IS ?1 AND t0."date" IS ?2 )"
       R"(LIMIT 1)",
       {inIndex("t0", "activity=? AND date=?")}},
      {"firstCheckin",
       [](const API& api, const Subject& its) {
         (void)api.firstCheckin(its.run, ActivityStatus::active);
       },
       R"(SELECT t0._id, t0."date" FROM "Checkin" t0 )"
       R"(LEFT JOIN "Activity" t1 ON t1._id = t0."activity" )"
       R"(WHERE t0."activity" IS ?1 AND t1."status" = ?2 ORDER BY t0."date")",
       {byKey("t1"), inIndex("t0", "activity=?")}},
      {"firstCheckinOfAll",
       [](const API& api, const Subject&) {
         (void)api.firstCheckin(nullptr, ActivityStatus::active);
       },
       R"(SELECT t0.* FROM "Checkin" t0 LEFT JOIN "Activity" t1 ON t1._id = t0."activity" )"
       R"(WHERE t1."status" = ?1 ORDER BY t0."date", t0._id LIMIT ?2)",
       {"SCAN t1 USING COVERING INDEX Activity_byGroupAndStatus", inIndex("t0", "activity=?"),
        kSorts}},
      {"lastCheckin",
       [](const API& api, const Subject& its) { (void)api.lastCheckin(its.run); },
       R"(SELECT t0._id, t0."date" FROM "Checkin" t0 WHERE t0."activity" IS ?1 )"
       R"(ORDER BY t0."date" DESC)",
       {inIndex("t0", "activity=?")}},
      {"numberOfCheckinsOfAYear",
       [](const API& api, const Subject& its) {
         (void)api.numberOfCheckins(its.run, CalendarItem::year(2024));
       },
       R"(SELECT total(t0."count") FROM "Checkin" t0 )"
       R"(WHERE t0."activity" IS ?1 AND t0."date" >= ?2 AND t0."date" < ?3 AND t0."type" IN (?4))",
       {inIndex("t0", "activity=? AND date>? AND date<?")}},
      {"numberOfCheckinsOfADay",
       [](const API& api, const Subject& its) {
         (void)api.numberOfCheckins(its.run, kAllTypes, CalendarItem::day(2024, 2, 10));
       },
       R"(SELECT total(t0."count") FROM "Checkin" t0 )"
       R"(WHERE t0."activity" IS ?1 AND t0."date" >= ?2 AND t0."date" < ?3)",
       {inIndex("t0", "activity=? AND date>? AND date<?")}},
      {"numberOfCheckinsOfAPeriod",
       [](const API& api, const Subject& its) {
         (void)api.numberOfCheckins(its.run, its.day, its.day);
       },
       R"(SELECT total(t0."count") FROM "Checkin" t0 )"
       R"(WHERE t0."activity" IS ?1 AND t0."date" >= ?2 AND t0."date" <= ?3 AND t0."type" IN (?4))",
       {inIndex("t0", "activity=? AND date>? AND date<?")}},
      {"numberOfCheckinsSince",
       [](const API& api, const Subject& its) {
         (void)api.numberOfCheckins(its.run, its.day, std::nullopt);
       },
       R"(SELECT total(t0."count") FROM "Checkin" t0 )"
       R"(WHERE t0."activity" IS ?1 AND t0."date" >= ?2 AND t0."type" IN (?3))",
       {inIndex("t0", "activity=? AND date>?")}},
      {"numberOfCheckinsUntil",
       [](const API& api, const Subject& its) {
         (void)api.numberOfCheckins(its.run, std::nullopt, its.day);
       },
       R"(SELECT total(t0."count") FROM "Checkin" t0 )"
       R"(WHERE t0."activity" IS ?1 AND t0."date" <= ?2 AND t0."type" IN (?3))",
       {inIndex("t0", "activity=? AND date<?")}},
      {"numberOfCheckins",
       [](const API& api, const Subject& its) {
         (void)api.numberOfCheckins(its.run, std::nullopt, std::nullopt);
       },
       R"(SELECT total(t0."count") FROM "Checkin" t0 )"
       R"(WHERE t0."activity" IS ?1 AND t0."type" IN (?2))",
       {inIndex("t0", "activity=?")}},
      {"activities",
       [](const API& api, const Subject&) { (void)api.activities(); },
       R"(SELECT t0.* FROM "Activity" t0)",
       {"SCAN t0"}},
      {"activitiesOfAGroup",
       [](const API& api, const Subject& its) { (void)api.activities(its.group); },
       R"(SELECT t0._id, t1."priority", t0."createdDate" FROM "Activity" t0 )"
       R"(LEFT JOIN "Order" t1 ON t1._id = t0."order" )"
       R"(WHERE t0."status" IS ?1 AND t0."group" IS ?2)",
       {"SEARCH t0 USING INDEX Activity_byGroupAndStatus (group=? AND status=?)", linked("t1")}},
      {"activitiesOfNoGroup",
       [](const API& api, const Subject&) { (void)api.activities(nullptr); },
       R"(SELECT t0._id, t1."priority", t0."createdDate" FROM "Activity" t0 )"
       R"(LEFT JOIN "Order" t1 ON t1._id = t0."order" )"
       R"(WHERE t0."status" IS ?1 AND t0."group" IS NULL)",
       {"SEARCH t0 USING INDEX Activity_byGroupAndStatus (group=? AND status=?)", linked("t1")}},
      {"activitiesOfAStatus",
       [](const API& api, const Subject&) { (void)api.activities(ActivityStatus::active); },
       R"(SELECT t0._id, t1."priority", t2."priority", t0."createdDate" FROM "Activity" t0 )"
       R"(LEFT JOIN "Group" t1 ON t1._id = t0."group" )"
       R"(LEFT JOIN "Order" t2 ON t2._id = t0."order" WHERE t0."status" IS ?1)",
       {"SCAN t0", linked("t1"), linked("t2")}},
      {"activitiesOfAPeriod",
       [](const API& api, const Subject& its) {
         (void)api.activities(ActivityStatus::active, its.day, its.day);
       },
       R"(SELECT t0._id, t1."priority", t2."priority", t0."createdDate" FROM "Activity" t0 )"
       R"(LEFT JOIN "Group" t1 ON t1._id = t0."group" )"
       R"(LEFT JOIN "Order" t2 ON t2._id = t0."order" )"
       R"(WHERE t0."status" IS ?1 AND (t0."createdDate" <= ?2 OR )"
       R"(EXISTS (SELECT 1 FROM "Checkin" t3 )"
       R"(WHERE t3."activity" = t0._id AND t3."date" BETWEEN ?3 AND ?4)))",
       {"SCAN t0", "CORRELATED SCALAR SUBQUERY 1",
        inIndex("t3", "activity=? AND date>? AND date<?"), linked("t1"), linked("t2")}},
      {"numberOfActivities",
       [](const API& api, const Subject&) { (void)api.numberOfActivities(); },
       R"(SELECT count(*) FROM "Activity" t0)",
       {"SCAN Activity USING COVERING INDEX Activity_byGroupAndStatus"}},
      {"numberOfActivitiesOfAStatus",
       [](const API& api, const Subject&) { (void)api.numberOfActivities(ActivityStatus::active); },
       R"(SELECT count(*) FROM "Activity" t0 WHERE t0."status" IS ?1)",
       {"SCAN t0 USING COVERING INDEX Activity_byGroupAndStatus"}},
      {"numberOfAchievedActivities",
       [](const API& api, const Subject&) { (void)api.numberOfAchievedActivities(); },
       R"(SELECT count(*) FROM "Activity" t0 WHERE t0."status" IS ?1)",
       {"SCAN t0 USING COVERING INDEX Activity_byGroupAndStatus"}},
  };
  return all;
}

class QueriesSql : public testing::TestWithParam<Pin> {
 protected:
  /// One store for all pins: asking changes nothing.
  static void SetUpTestSuite() { world_ = std::make_unique<World>(); }
  static void TearDownTestSuite() { world_ = nullptr; }

  /// The one query that the pinned call runs where no rows are at hand, but for the reading of
  /// single rows by their keys.
  [[nodiscard]] static std::string query() {
    static_cast<void>(world_->engine().core().rows().outdate(coredata::kNoEpoch));
    Steps queries = queriesNow();
    std::erase(queries, R"(SELECT * FROM "Activity" WHERE _id=?)");
    return only(queries);
  }
  /// The one statement where all activities have been listed before.
  [[nodiscard]] static std::string queryOnceListed() {
    static_cast<void>(world_->diary.api().activities());
    return only(queriesNow());
  }
  [[nodiscard]] static Steps plan(const std::string& query) { return world_->trace.plan(query); }

 private:
  struct World {
    World() { diary.save(); }
    [[nodiscard]] coredata::SQLiteStore& engine() const {
      return *diary.store().container().persistentStoreCoordinator()->store()->engine();
    }

    Diary diary;
    Subject about{diary.activity(), diary.group(0), localDate(2024, 2, 10)};
    support::SqlTrace trace{engine()};
  };
  [[nodiscard]] static Steps queriesNow() {
    static_cast<void>(world_->trace.takeQueries());
    GetParam().ask(world_->diary.api(), world_->about);
    return world_->trace.takeQueries();
  }
  [[nodiscard]] static std::string only(const Steps& queries) {
    EXPECT_EQ(queries.size(), 1U);
    return queries.empty() ? std::string() : queries.front();
  }
  inline static std::unique_ptr<World> world_;
};

INSTANTIATE_TEST_SUITE_P(Query, QueriesSql, testing::ValuesIn(pins()),
                         [](const auto& pin) { return pin.param.name; });

TEST_P(QueriesSql, IsThis) { EXPECT_EQ(query(), GetParam().sql); }

TEST_P(QueriesSql, IsRunLikeThis) { EXPECT_EQ(plan(query()), GetParam().plan); }

/// The pins of the lists of activities that ask for some of them.
std::vector<Pin> activityListPins() {
  std::vector<Pin> result;
  std::ranges::copy_if(pins(), std::back_inserter(result),
                       [](const Pin& pin) { return pin.name.starts_with("activitiesOf"); });
  return result;
}

class ActivityListsSql : public QueriesSql {};

INSTANTIATE_TEST_SUITE_P(Query, ActivityListsSql, testing::ValuesIn(activityListPins()),
                         [](const auto& pin) { return pin.param.name; });

TEST_P(ActivityListsSql, ReadKeysAloneOnceAllWereListed) {
  const std::string sql = queryOnceListed();

  EXPECT_TRUE(sql.starts_with("SELECT t0._id, ")) << sql;
  EXPECT_EQ(plan(sql).front(), GetParam().plan.front());
}

/// The pins of the queries about check-ins, but for the one that has no activity to go by.
std::vector<Pin> checkinPins() {
  std::vector<Pin> result;
  std::ranges::copy_if(pins(), std::back_inserter(result), [](const Pin& pin) {
    return pin.sql.find("\"Checkin\" t") != std::string::npos && pin.name != "firstCheckinOfAll";
  });
  return result;
}

class CheckinsSql : public QueriesSql {};

INSTANTIATE_TEST_SUITE_P(Query, CheckinsSql, testing::ValuesIn(checkinPins()),
                         [](const auto& pin) { return pin.param.name; });

TEST_P(CheckinsSql, NeverWalksThroughAllCheckins) {
  const std::string sql = query();
  const std::string_view table = "\"Checkin\" ";
  const std::string alias = sql.substr(sql.find(table) + table.size(), 2);

  for (const std::string& step : plan(sql)) {
    EXPECT_FALSE(step.starts_with("SCAN " + alias)) << step;
  }
}

TEST(QueriesForOneCheckin, ReadNoOther) {
  const Diary diary;
  const auto activity = diary.activity();
  for (int day = 10; day < 30; ++day) diary.checkIn(activity, "2024-02-" + std::to_string(day));
  diary.save();
  const auto container = diary.store().opened();
  const LocalAPI api(container->viewContext(), foundation::make<support::RecordingLogger>());
  const auto run = container->viewContext()->fetch(CDActivity::fetchRequest()).first();
  support::SqlTrace trace(*container->persistentStoreCoordinator()->store()->engine());

  EXPECT_EQ(api.firstCheckin(run, ActivityStatus::active)->date(), "2024-02-10");
  EXPECT_EQ(api.lastCheckin(run)->date(), "2024-02-29");

  const Steps queries = trace.takeQueries();
  EXPECT_EQ(queries.size(), 4U);
  EXPECT_EQ(std::ranges::count(queries, R"(SELECT * FROM "Checkin" WHERE _id=?)"), 2);
}

}  // namespace
}  // namespace coredatastack
