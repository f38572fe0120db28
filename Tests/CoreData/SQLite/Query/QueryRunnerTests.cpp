#include "CoreData/SQLite/Query/QueryRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "CoreData/SQLite/Connection.h"
#include "CoreData/SQLite/Query/QueryCache.h"
#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/StoreCore.h"
#include "Foundation/Values/Error.h"
#include "Tests/CoreData/SQLite/Query/HabitStore.h"

namespace {

using coredata::ObjectKey;
using coredata::Row;
using foundation::NSPredicate;
using foundation::Ref;
using foundation::Value;
using foundation::ValueList;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<ObjectKey> keysOf(const std::vector<Ref<Row>>& rows) {
  std::vector<ObjectKey> keys;
  for (const Ref<Row>& row : rows) keys.push_back(row->key());
  return keys;
}

class QueryRunner : public testing::Test {
 protected:
  habits::Store store_;
};

TEST_F(QueryRunner, ReadsEverySlotOfARow) {
  const auto code = foundation::UUID();
  store_.insert("Activity", 7,
                {{"title", "Run"},
                 {"status", -1},
                 {"weight", 0.5},
                 {"createdDate", foundation::Date::fromReference(12.25)},
                 {"icon", foundation::Data(std::vector<std::uint8_t>{1, 0, 2})},
                 {"code", code},
                 {"parent", 3}});

  const auto rows = store_.runner().rows(*habits::everything("Activity"), {});

  ASSERT_EQ(rows.size(), 1U);
  const Row& row = *rows.front();
  const auto slot = [](const char* name) {
    return habits::entity("Activity").property(name)->slot();
  };
  EXPECT_EQ(row.key(), 7);
  EXPECT_EQ(row.version(), 1);
  EXPECT_EQ(row.text(slot("title")), "Run");
  EXPECT_EQ(row.integer(slot("status")), -1);
  EXPECT_EQ(row.real(slot("weight")), 0.5);
  EXPECT_EQ(row.real(slot("createdDate")), 12.25);
  EXPECT_THAT(row.bytes(slot("icon")), ElementsAre(1, 0, 2));
  EXPECT_EQ(row.identifier(slot("code")), code);
  EXPECT_EQ(row.reference(slot("parent")), 3);
  EXPECT_TRUE(row.isNone(slot("score")));
}

TEST_F(QueryRunner, OrdersByKeyWithoutASort) {
  store_.insert("Checkin", 3, {{"activity", 1}, {"date", "a"}});
  store_.insert("Checkin", 1, {{"activity", 1}, {"date", "c"}});
  store_.insert("Checkin", 2, {{"activity", 1}, {"date", "b"}});
  const auto fetch =
      habits::fetch("Checkin", NSPredicate::format("activity = %@", habits::object("Activity", 1)));

  EXPECT_THAT(store_.keys(fetch), ElementsAre(1, 2, 3));
  EXPECT_THAT(keysOf(store_.runner().rows(*fetch.plan, fetch.arguments())), ElementsAre(1, 2, 3));
}

TEST_F(QueryRunner, CutsByLimitAndOffset) {
  for (ObjectKey key = 1; key <= 5; ++key) store_.insert("Photo", key, {{"size", 10 - key}});
  const auto plan = habits::everything("Photo", {{"size", true}});

  EXPECT_THAT(keysOf(store_.runner().rows(*plan, {}, 2, 1)), ElementsAre(4, 3));
  EXPECT_THAT(store_.runner().keys(*plan, {}, 0, 3), ElementsAre(2, 1));
  EXPECT_THAT(store_.runner().keys(*plan, {}, 2, 9), IsEmpty());
}

TEST_F(QueryRunner, CutsWhatItSortsItself) {
  std::vector<Ref<Row>> rows;
  for (ObjectKey key = 1; key <= 3000; ++key) {
    rows.push_back(habits::row("Photo", key, {{"size", key % 7}}));
  }
  store_.insert(rows);
  const auto plan = habits::everything("Photo", {{"size", false}});
  const std::vector<ObjectKey> all = store_.runner().keys(*plan, {});

  for (const auto& [limit, offset] :
       {std::pair{5UL, 2990UL}, {0UL, 10UL}, {2000UL, 0UL}, {2000UL, 2500UL}, {1UL, 4000UL}}) {
    EXPECT_EQ(keysOf(store_.runner().rows(*plan, {}, limit, offset)),
              store_.runner().keys(*plan, {}, limit, offset));
  }
  EXPECT_EQ(keysOf(store_.runner().rows(*plan, {})), all);
}

TEST_F(QueryRunner, BreaksTiesByKeyWhereAnIndexGivesTheOrder) {
  // The index has the types between the days and the keys.
  for (ObjectKey key = 1; key <= 12; ++key) {
    store_.insert("Checkin", key,
                  {{"activity", 1}, {"date", key % 3 == 0 ? "b" : "a"}, {"type", 12 - key}});
  }
  const auto predicate = NSPredicate::format("activity = %@", habits::object("Activity", 1));
  for (const bool ascending : {true, false}) {
    const auto fetch = habits::fetch("Checkin", predicate, {{"date", ascending}});
    for (const auto& [limit, offset] : {std::pair{0UL, 0UL},
                                        {1UL, 0UL},
                                        {3UL, 2UL},
                                        {1UL, 7UL},
                                        {4UL, 5UL},
                                        {0UL, 7UL},
                                        {8UL, 0UL},
                                        {2UL, 20UL}}) {
      EXPECT_EQ(keysOf(store_.runner().rows(*fetch.plan, fetch.arguments(), limit, offset)),
                store_.runner().keys(*fetch.plan, fetch.arguments(), limit, offset));
    }
  }
}

TEST_F(QueryRunner, ReadsTheFirstRowOfAnOrder) {
  for (ObjectKey key = 1; key <= 12; ++key) {
    store_.insert(
        "Checkin", key,
        {{"activity", key < 12 ? 1 : 2}, {"date", key % 3 == 0 ? "b" : "a"}, {"type", 12 - key}});
  }
  for (const ObjectKey activity : {1, 2, 3}) {
    const auto predicate =
        NSPredicate::format("activity = %@", habits::object("Activity", activity));
    for (const auto& sorts :
         std::vector<habits::Sorts>{{}, {{"date", true}}, {{"date", false}}, {{"type", true}}}) {
      const auto fetch = habits::fetch("Checkin", predicate, sorts);
      for (const std::size_t offset : {0, 1, 7, 20}) {
        const auto rows = store_.runner().rows(*fetch.plan, fetch.arguments(), 1, offset);

        const Ref<Row> first = store_.runner().firstRow(*fetch.plan, fetch.arguments(), offset);

        ASSERT_EQ(first != nullptr, !rows.empty());
        if (first) {
          EXPECT_EQ(first->key(), rows.front()->key());
        }
      }
    }
  }
}

TEST_F(QueryRunner, TellsOfAnIndexThatNamesARowWhichIsNotThere) {
  for (ObjectKey key = 1; key <= 2; ++key) {
    store_.insert("Checkin", key, {{"activity", 1}, {"date", std::to_string(key)}});
  }
  store_.deleteBehindIndex("Checkin", "Checkin_byActivityAndDate", 1);
  const auto fetch =
      habits::fetch("Checkin", NSPredicate::format("activity = %@", habits::object("Activity", 1)),
                    {{"date", true}});

  for (const bool isFirst : {true, false}) {
    try {
      if (isFirst) {
        static_cast<void>(store_.runner().firstRow(*fetch.plan, fetch.arguments()));
      } else {
        static_cast<void>(store_.runner().rows(*fetch.plan, fetch.arguments(), 1));
      }
      ADD_FAILURE() << "a row came from nowhere";
    } catch (const foundation::Error& error) {
      EXPECT_EQ(error.code(), static_cast<std::int64_t>(coredata::StoreErrorCode::damaged));
      EXPECT_EQ(error.message(), "An index names Checkin 1, which the store does not have.");
    }
  }
}

TEST_F(QueryRunner, PutsAbsentValuesFirstAscendingAndLastDescending) {
  store_.insert("Photo", 1, {{"name", "b"}});
  store_.insert("Photo", 2, {});
  store_.insert("Photo", 3, {{"name", ""}});
  store_.insert("Photo", 4, {{"name", "b"}});

  const auto ascending = habits::everything("Photo", {{"name", true}});
  const auto descending = habits::everything("Photo", {{"name", false}});

  EXPECT_THAT(keysOf(store_.runner().rows(*ascending, {})), ElementsAre(2, 3, 1, 4));
  EXPECT_THAT(keysOf(store_.runner().rows(*descending, {})), ElementsAre(1, 4, 3, 2));
  EXPECT_THAT(store_.runner().keys(*ascending, {}), ElementsAre(2, 3, 1, 4));
  EXPECT_THAT(store_.runner().keys(*descending, {}), ElementsAre(1, 4, 3, 2));
}

TEST_F(QueryRunner, KeepsRowsWithoutALinkWhenItSortsThroughIt) {
  store_.insert("Activity", 1, {{"title", "b"}});
  store_.insert("Activity", 2, {{"title", "a"}});
  store_.insert("Checkin", 1, {{"activity", 1}});
  store_.insert("Checkin", 2, {});
  store_.insert("Checkin", 3, {{"activity", 2}});

  const auto plan = habits::everything("Checkin", {{"activity.title", true}});

  EXPECT_THAT(keysOf(store_.runner().rows(*plan, {})), ElementsAre(2, 3, 1));
  EXPECT_THAT(store_.runner().keys(*plan, {}), ElementsAre(2, 3, 1));
}

TEST_F(QueryRunner, GivesKeysInTheOrderOfTheirRowsWhateverItSortsBy) {
  std::vector<Ref<Row>> rows;
  for (ObjectKey key = 1; key <= 5; ++key) {
    rows.push_back(habits::row(
        "Activity", key,
        {{"title", key % 2 == 0 ? "even" : "odd"}, {"weight", static_cast<double>(key)}}));
  }
  // Many are even in every sort, and the index finds them in another order than that of their keys.
  for (ObjectKey key = 1; key <= 600; ++key) {
    rows.push_back(habits::row("Checkin", key,
                               {{"activity", 6 - key % 7},
                                {"date", "2024-02-" + std::to_string(10 + key % 13)},
                                {"count", static_cast<double>(key % 3)}}));
  }
  store_.insert(rows);

  for (const bool ascending : {true, false}) {
    for (const char* path : {"activity.title", "activity", "count", "activity.weight"}) {
      const auto plan = habits::everything("Checkin", {{path, ascending}, {"date", true}});

      EXPECT_EQ(store_.runner().keys(*plan, {}), keysOf(store_.runner().rows(*plan, {})))
          << path << (ascending ? " ascending" : " descending");
    }
  }
}

TEST_F(QueryRunner, CountsAllOrUpToALimit) {
  for (ObjectKey key = 1; key <= 5; ++key) store_.insert("Photo", key, {{"size", key}});
  const auto fetch = habits::fetch("Photo", NSPredicate::format("size > %d", 1));

  EXPECT_EQ(store_.runner().count(*fetch.plan, fetch.arguments()), 4);
  EXPECT_EQ(store_.runner().count(*fetch.plan, fetch.arguments(), 1), 1);
  EXPECT_EQ(store_.runner().count(*fetch.plan, fetch.arguments(), 3), 3);
  EXPECT_EQ(store_.runner().count(*fetch.plan, fetch.arguments(), 9), 4);
}

TEST_F(QueryRunner, AnswersAgainWithOtherArguments) {
  store_.insert("Photo", 1, {{"name", "a"}});
  store_.insert("Photo", 2, {});
  const auto fetch = habits::fetch("Photo", NSPredicate::format("name = %@", "a"));
  const Value absent;

  EXPECT_THAT(store_.keys(fetch), ElementsAre(1));
  EXPECT_THAT(store_.runner().keys(*fetch.plan, std::span(&absent, 1)), ElementsAre(2));
  EXPECT_THAT(store_.keys(fetch), ElementsAre(1));
}

TEST_F(QueryRunner, FindsPrefixesByBytes) {
  const std::string high = "\xff\xff";
  store_.insert("Photo", 1, {{"name", ""}});
  store_.insert("Photo", 2, {{"name", "ab"}});
  store_.insert("Photo", 3, {{"name", "aB"}});
  store_.insert("Photo", 4, {{"name", high + "x"}});
  store_.insert("Photo", 5, {});
  store_.insert("Photo", 6, {{"name", "a%"}});

  EXPECT_THAT(store_.keys("Photo", "name BEGINSWITH %@", "a"), ElementsAre(2, 3, 6));
  EXPECT_THAT(store_.keys("Photo", "name BEGINSWITH %@", "a%"), ElementsAre(6));
  EXPECT_THAT(store_.keys("Photo", "name BEGINSWITH %@", high), ElementsAre(4));
  EXPECT_THAT(store_.keys("Photo", "name BEGINSWITH %@", ""), ElementsAre(1, 2, 3, 4, 6));
  EXPECT_THAT(store_.keys("Photo", "name BEGINSWITH %@", nullptr), IsEmpty());
  EXPECT_THAT(store_.keys("Photo", "name BEGINSWITH[c] %@", "AB"), ElementsAre(2, 3));
}

TEST_F(QueryRunner, FindsNothingEqualToAValueOfAnotherKind) {
  store_.insert("Photo", 1, {{"size", 1}, {"name", "1"}});
  store_.insert("Photo", 2, {});

  EXPECT_THAT(store_.keys("Photo", "name = %@", 1), IsEmpty());
  EXPECT_THAT(store_.keys("Photo", "name != %@", 1), ElementsAre(1, 2));
  EXPECT_THAT(store_.keys("Photo", "size = %@", "1"), IsEmpty());
  EXPECT_THAT(store_.keys("Photo", "size < %@", "2"), IsEmpty());
  EXPECT_THAT(store_.keys("Photo", "NOT (size < %@)", "2"), ElementsAre(1, 2));
  EXPECT_THAT(store_.keys("Photo", "size = %@", std::nan("")), IsEmpty());
}

TEST_F(QueryRunner, MatchesNothingWithAnObjectFromElsewhere) {
  store_.insert("Photo", 1, {{"checkin", 1}});
  store_.insert("Photo", 2, {});

  EXPECT_THAT(store_.keys("Photo", "checkin = %@", habits::object("Activity", 1)), IsEmpty());
  EXPECT_THAT(store_.keys("Photo", "checkin != %@", habits::object("Activity", 1)),
              ElementsAre(1, 2));
  EXPECT_THAT(store_.keys("Photo", "checkin = %@", habits::object("Checkin", -1)), IsEmpty());
  EXPECT_THAT(store_.keys("Photo", "checkin = %@", habits::object("Checkin", 1)), ElementsAre(1));
}

TEST_F(QueryRunner, NeverRoundsANumberToFindIt) {
  constexpr std::int64_t kBeyond = (std::int64_t{1} << 53) + 1;
  store_.insert("Activity", 1, {{"weight", 9007199254740992.0}, {"score", kBeyond}});

  EXPECT_THAT(store_.keys("Activity", "weight = %@", kBeyond), IsEmpty());
  EXPECT_THAT(store_.keys("Activity", "weight < %@", kBeyond), ElementsAre(1));
  EXPECT_THAT(store_.keys("Activity", "weight >= %@", kBeyond), IsEmpty());
  EXPECT_THAT(store_.keys("Activity", "weight BETWEEN {%@, %@}", kBeyond, kBeyond), IsEmpty());
  EXPECT_THAT(store_.keys("Activity", "score = %@", 9007199254740992.0), IsEmpty());
  EXPECT_THAT(store_.keys("Activity", "score > %@", 9007199254740992.0), ElementsAre(1));
}

TEST_F(QueryRunner, LooksListsOfAnyLengthUp) {
  for (ObjectKey key = 1; key <= 50; ++key) store_.insert("Photo", key, {{"size", key}});
  store_.insert("Photo", 51, {});
  ValueList many;
  for (int i = 0; i < 40'000; ++i) many.emplace_back(i + 49);

  EXPECT_THAT(store_.keys("Photo", "size IN %@", many), ElementsAre(49, 50));
  many.emplace_back(nullptr);
  EXPECT_THAT(store_.keys("Photo", "size IN %@", many), ElementsAre(49, 50, 51));
  EXPECT_EQ(store_.keys("Photo", "NOT (size IN %@)", many).size(), 48U);
  EXPECT_THAT(store_.keys("Photo", "size IN %@", (ValueList{2, 2, "2", 3})), ElementsAre(2, 3));
  EXPECT_THAT(store_.keys("Photo", "size IN %@", ValueList{}), IsEmpty());
}

TEST_F(QueryRunner, SharesStatementsBetweenListsOfLikeLength) {
  coredata::Reading reading(store_.session());
  const coredata::QueryCache& cache = coredata::QueryCache::of(reading.connection());
  const auto plan = habits::fetch("Photo", NSPredicate::format("size IN %@", ValueList{1})).plan;

  for (std::size_t length = 1; length <= 100; ++length) {
    const Value list = ValueList(length, Value(1));
    (void)store_.runner().keys(*plan, std::span(&list, 1));
  }

  EXPECT_EQ(cache.size(), 5U);
}

TEST_F(QueryRunner, KeepsABoundedNumberOfQueries) {
  coredata::Reading reading(store_.session());
  const coredata::QueryCache& cache = coredata::QueryCache::of(reading.connection());
  store_.insert("Photo", 1, {{"size", 1}});

  for (std::size_t i = 0; i < 2 * coredata::QueryCache::kMaxQueries; ++i) {
    const auto fetch = habits::fetch("Photo", NSPredicate::format("size = %d", 1));
    EXPECT_THAT(store_.keys(fetch), ElementsAre(1));
  }

  EXPECT_LE(cache.size(), coredata::QueryCache::kMaxQueries);
}

TEST_F(QueryRunner, PreparesAQueryAnewWhenItsStatementWasDropped) {
  coredata::Reading reading(store_.session());
  coredata::Connection& connection = reading.connection();
  store_.insert("Photo", 1, {{"size", 1}});
  const auto fetch = habits::fetch("Photo", NSPredicate::format("size = %d", 1));
  EXPECT_THAT(store_.keys(fetch), ElementsAre(1));

  const std::uint64_t drops = connection.statementDrops();
  for (std::uint32_t which = 0; connection.statementDrops() == drops; ++which) {
    (void)connection.statement({coredata::StatementKind::query, which},
                               [] { return std::string("SELECT 1"); });
  }

  EXPECT_THAT(store_.keys(fetch), ElementsAre(1));
}

TEST_F(QueryRunner, SeesOneStateWithinABlock) {
  store_.insert("Photo", 1, {});
  const auto plan = habits::everything("Photo");
  coredata::ReadSession writer(store_.session().store());
  store_.session().begin();
  EXPECT_EQ(store_.runner().count(*plan, {}), 1);

  habits::insert(writer, {habits::row("Photo", 2, {})});

  EXPECT_EQ(store_.runner().count(*plan, {}), 1);
  store_.session().end();
  EXPECT_EQ(store_.runner().count(*plan, {}), 2);
}

TEST_F(QueryRunner, ListsWhatIsThereAlsoWhereItHasListedEverything) {
  const auto plan = habits::everything("Activity", {{"title", true}});
  const auto titles = [&] {
    std::vector<std::string> result;
    for (const auto& row : store_.runner().rows(*plan, {})) {
      result.emplace_back(row->text(habits::entity("Activity").property("title")->slot()));
    }
    return result;
  };
  for (ObjectKey key = 1; key <= 2; ++key) {
    store_.insert("Activity", key, {{"title", std::to_string(10 - key)}});
  }
  EXPECT_THAT(titles(), ElementsAre("8", "9"));
  EXPECT_TRUE(store_.session().store()->core().rows().holdsMostOf(habits::entity("Activity")));
  EXPECT_THAT(titles(), ElementsAre("8", "9"));

  store_.insert("Activity", 3, {{"title", "7"}});
  EXPECT_THAT(titles(), ElementsAre("7", "8", "9"));

  store_.execute(
      "UPDATE Activity SET title='6', _version=2 WHERE _id=1; DELETE FROM Activity WHERE _id=2");
  EXPECT_THAT(titles(), ElementsAre("6", "7"));
  EXPECT_THAT(titles(), ElementsAre("6", "7"));

  const auto fetch = habits::fetch("Activity", NSPredicate::format("title > %@", "6"));
  EXPECT_THAT(keysOf(store_.runner().rows(*fetch.plan, fetch.arguments())), ElementsAre(3));
  EXPECT_THAT(keysOf(store_.runner().rows(*plan, {}, 1, 1)), ElementsAre(3));
}

TEST_F(QueryRunner, ThrowsWhenTheStoreIsClosed) {
  store_.session().store()->close();

  EXPECT_THROW((void)store_.runner().count(*habits::everything("Photo"), {}), foundation::Error);
}

}  // namespace
