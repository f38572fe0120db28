#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/CoreData/SQLite/Query/HabitStore.h"

namespace {

using coredata::Aggregate;
using coredata::DictionaryRows;
using coredata::FetchColumn;
using coredata::FetchPlan;
using coredata::NSAttributeType;
using coredata::SlotTag;
using foundation::make;
using foundation::NSPredicate;
using foundation::Value;
using testing::ElementsAre;

class DictionaryQuery : public testing::Test {
 protected:
  void SetUp() override {
    store_.insert("Activity", 1, {{"title", "Run"}});
    store_.insert("Checkin", 1, {{"activity", 1}, {"date", "b"}, {"type", 0}, {"count", 1.5}});
    store_.insert("Checkin", 2, {{"activity", 1}, {"date", "a"}, {"type", 10}, {"count", 2.0}});
    store_.insert("Checkin", 3, {{"date", "b"}, {"type", 0}});
    store_.insert("Checkin", 4, {{"type", 0}, {"count", 4.0}});
  }

  [[nodiscard]] static coredata::ResolvedPath path(std::string_view keyPath) {
    return coredata::resolvePath(habits::entity("Checkin"), keyPath);
  }
  [[nodiscard]] static FetchColumn shown(std::string_view keyPath,
                                         Aggregate aggregate = Aggregate::none,
                                         NSAttributeType type = NSAttributeType::undefined) {
    coredata::ResolvedPath resolved = path(keyPath);
    if (resolved.attribute != nullptr && type == NSAttributeType::undefined) {
      type = resolved.attribute->attributeType();
    }
    return {std::string(keyPath), std::move(resolved), aggregate, type};
  }

  DictionaryRows run(std::vector<FetchColumn> columns,
                     std::vector<coredata::ResolvedPath> grouping = {},
                     std::vector<coredata::SortTerm> sorts = {}, bool distinct = false,
                     std::size_t limit = 0) {
    FetchPlan::Form form;
    form.entity = &habits::entity("Checkin");
    form.columns = std::move(columns);
    form.grouping = std::move(grouping);
    form.sorts = std::move(sorts);
    form.distinct = distinct;
    return store_.runner().dictionaries(*make<const FetchPlan>(std::move(form)), {}, limit);
  }

  static std::vector<std::string> texts(const DictionaryRows& rows, std::size_t column = 0) {
    std::vector<std::string> result;
    for (std::size_t row = 0; row < rows.size(); ++row) {
      const bool isAbsent = rows.tag(row, column) == SlotTag::none;
      result.emplace_back(isAbsent ? "-" : rows.text(row, column));
    }
    return result;
  }

  habits::Store store_;
};

TEST_F(DictionaryQuery, ShowsValuesByTheirKind) {
  const DictionaryRows rows = run(
      {shown("date"), shown("type"), shown("count"), shown("activity"), shown("activity.title")});

  ASSERT_EQ(rows.size(), 4U);
  EXPECT_EQ(rows.text(0, 0), "b");
  EXPECT_EQ(rows.integer(0, 1), 0);
  EXPECT_EQ(rows.real(0, 2), 1.5);
  EXPECT_EQ(rows.reference(0, 3), 1);
  EXPECT_EQ(rows.text(0, 4), "Run");
  EXPECT_EQ(rows.tag(2, 2), SlotTag::none);
  EXPECT_EQ(rows.tag(2, 4), SlotTag::none);
}

TEST_F(DictionaryQuery, SumsWithoutTheAbsentValues) {
  const DictionaryRows rows = run({shown("count", Aggregate::sum)});

  ASSERT_EQ(rows.size(), 1U);
  EXPECT_EQ(rows.tag(0, 0), SlotTag::real);
  EXPECT_EQ(rows.real(0, 0), 7.5);
}

TEST_F(DictionaryQuery, GivesOneRowWithZeroForTheSumOfNothing) {
  FetchPlan::Form form;
  form.entity = &habits::entity("Photo");
  form.columns = {{"sum", coredata::resolvePath(*form.entity, "size"), Aggregate::sum,
                   NSAttributeType::double_}};

  const DictionaryRows rows =
      store_.runner().dictionaries(*make<const FetchPlan>(std::move(form)), {});

  ASSERT_EQ(rows.size(), 1U);
  EXPECT_EQ(rows.tag(0, 0), SlotTag::real);
  EXPECT_EQ(rows.real(0, 0), 0.0);
}

TEST_F(DictionaryQuery, GivesAggregatesInTheDeclaredKind) {
  const DictionaryRows rows = run({shown("type", Aggregate::sum, NSAttributeType::integer64),
                                   shown("type", Aggregate::maximum, NSAttributeType::double_),
                                   shown("date", Aggregate::minimum, NSAttributeType::string),
                                   shown("date", Aggregate::count, NSAttributeType::integer32)});

  ASSERT_EQ(rows.size(), 1U);
  EXPECT_EQ(rows.tag(0, 0), SlotTag::integer);
  EXPECT_EQ(rows.integer(0, 0), 10);
  EXPECT_EQ(rows.tag(0, 1), SlotTag::real);
  EXPECT_EQ(rows.real(0, 1), 10.0);
  EXPECT_EQ(rows.text(0, 2), "a");
  EXPECT_EQ(rows.integer(0, 3), 3);
}

TEST_F(DictionaryQuery, GroupsAbsentValuesWithEachOther) {
  const DictionaryRows rows = run({shown("date"), shown("count", Aggregate::sum)}, {path("date")});

  EXPECT_THAT(texts(rows), ElementsAre("-", "a", "b"));
  EXPECT_EQ(rows.real(0, 1), 4.0);
  EXPECT_EQ(rows.real(2, 1), 1.5);
}

TEST_F(DictionaryQuery, SortsGroups) {
  const DictionaryRows rows =
      run({shown("date"), shown("count", Aggregate::sum)}, {path("date")}, {{path("date"), false}});

  EXPECT_THAT(texts(rows), ElementsAre("b", "a", "-"));
}

TEST_F(DictionaryQuery, SortsManyGroupsAsTheStoreDoes) {
  for (coredata::ObjectKey key = 2; key <= 5; ++key) store_.insert("Activity", key, {});
  for (coredata::ObjectKey key = 5; key <= 800; ++key) {
    const std::int64_t scattered = key * 7919 % 1009;
    const Value date = scattered % 9 == 0 ? Value() : Value("2024-" + std::to_string(scattered));
    const Value activity = scattered % 7 == 0 ? Value() : Value(scattered % 5 + 1);
    store_.insert("Checkin", key, {{"activity", activity}, {"date", date}});
  }
  constexpr std::size_t kBeyondAll = 10'000;
  for (const bool ascending : {true, false}) {
    const auto asked = [&](std::size_t limit) {
      return run({shown("activity"), shown("date")}, {path("activity"), path("date")},
                 {{path("date"), ascending}}, false, limit);
    };

    const DictionaryRows all = asked(0);
    // What is cut is sorted by the store.
    const DictionaryRows cut = asked(kBeyondAll);

    ASSERT_GT(all.size(), 500U);
    EXPECT_EQ(texts(all, 1), texts(cut, 1));
    for (std::size_t row = 0; row < all.size(); ++row) {
      EXPECT_EQ(all.reference(row, 0), cut.reference(row, 0)) << "in row " << row;
    }
  }
}

TEST_F(DictionaryQuery, SortsByWhatIsStoredWhereAnotherKindIsShown) {
  store_.insert("Checkin", 5, {{"count", 1.25}});

  const DictionaryRows rows =
      run({shown("count", Aggregate::none, NSAttributeType::integer64), shown("date")},
          {path("count"), path("date")}, {{path("count"), false}});

  EXPECT_THAT(texts(rows, 1), ElementsAre("-", "a", "b", "-", "b"));
}

TEST_F(DictionaryQuery, ShowsDistinctRowsOnceInTheOrderOfTheFirst) {
  EXPECT_THAT(texts(run({shown("date")}, {}, {}, true)), ElementsAre("b", "a", "-"));
  EXPECT_THAT(texts(run({shown("date")}, {}, {{path("date"), true}}, true)),
              ElementsAre("-", "a", "b"));
}

TEST_F(DictionaryQuery, CutsTheResultAndNotWhatItIsMadeFrom) {
  const DictionaryRows rows = run({shown("date"), shown("count", Aggregate::sum)}, {path("date")},
                                  {{path("date"), false}}, false, 1);

  ASSERT_EQ(rows.size(), 1U);
  EXPECT_EQ(rows.text(0, 0), "b");
  EXPECT_EQ(rows.real(0, 1), 1.5);
}

}  // namespace
