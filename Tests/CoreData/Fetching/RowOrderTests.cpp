#include "CoreData/Fetching/RowOrder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "CoreData/Model/ModelBuilder.h"

namespace {

using coredata::ObjectKey;
using coredata::Row;
using coredata::SortTerm;
using foundation::Ref;

const coredata::NSEntityDescription& note() {
  static const Ref<coredata::NSManagedObjectModel> kModel = coredata::modelFromSource(R"({
    "identifiers": ["Notes 1"],
    "entities": {"Note": {
      "attributes": {"title": "text", "day": "text", "week": "integer16",
                     "rank": "integer64", "score": "double", "code": "uuid"},
      "relationships": {"parent": {"toOne": "Note"}}
    }}
  })");
  return *kModel->entity("Note");
}

SortTerm by(const char* key, bool ascending = true) {
  return {coredata::resolvePath(note(), key), ascending};
}

Ref<Row> row(ObjectKey key) {
  Ref<Row> made = Row::make(note(), 32);
  made->setKey(key);
  return made;
}

Ref<Row> titled(ObjectKey key, std::string_view title) {
  Ref<Row> made = row(key);
  Row::setText(made, note().property("title")->slot(), title);
  return made;
}

std::vector<ObjectKey> sorted(std::vector<Ref<Row>> rows, const std::vector<SortTerm>& sorts) {
  coredata::sortRows(rows, sorts);
  std::vector<ObjectKey> keys;
  for (const Ref<Row>& each : rows) keys.push_back(each->key());
  return keys;
}

using Keys = std::vector<ObjectKey>;

TEST(RowOrder, SortsTextsByBytes) {
  const std::vector rows = {titled(1, "b"), titled(2, "\xc3\xa9"), titled(3, "B"),
                            titled(4, "2024-01-02"), titled(5, "2024-01-01")};

  EXPECT_EQ(sorted(rows, {by("title")}), (Keys{5, 4, 3, 1, 2}));
}

TEST(RowOrder, LooksBehindWhatAllTextsBeginWith) {
  const std::vector rows = {titled(1, "the same beginning 2"), titled(2, "the same beginning 10"),
                            titled(3, "the same beginning"), titled(4, "the same beginning 1")};

  EXPECT_EQ(sorted(rows, {by("title")}), (Keys{3, 4, 2, 1}));
}

TEST(RowOrder, TellsEmptyTextsFromAbsentOnesAndFromZeros) {
  const std::vector rows = {titled(1, std::string_view("\0", 1)), titled(2, ""), row(3)};

  EXPECT_EQ(sorted(rows, {by("title")}), (Keys{3, 2, 1}));
  EXPECT_EQ(sorted(rows, {by("title", false)}), (Keys{1, 2, 3}));
}

TEST(RowOrder, BreaksTiesByKeyUnsavedOnesLast) {
  const std::vector rows = {titled(-2, "a"), titled(7, "a"), titled(-1, "a"), titled(3, "a")};

  EXPECT_EQ(sorted(rows, {by("title")}), (Keys{3, 7, -1, -2}));
  EXPECT_EQ(sorted(rows, {by("title", false)}), (Keys{3, 7, -1, -2}));
  EXPECT_EQ(sorted(rows, {}), (Keys{3, 7, -1, -2}));
}

TEST(RowOrder, BreaksTheTiesOfRowsInOrder) {
  constexpr std::string_view titles = "aabbbc";
  Keys given = {-1, 1, 2, 3, 4, 5};
  const auto sortGroups = [](Keys keys) {
    for (const auto& [first, last] : {std::pair(0, 2), std::pair(2, 5)}) {
      std::sort(keys.begin() + first, keys.begin() + last, [](ObjectKey left, ObjectKey right) {
        return coredata::compareKeys(left, right) < 0;
      });
    }
    return keys;
  };
  do {
    std::vector<Ref<Row>> rows;
    for (std::size_t i = 0; i < given.size(); ++i) {
      rows.push_back(titled(given[i], titles.substr(i, 1)));
    }

    coredata::sortTies(rows, std::vector{by("title")});

    Keys keys;
    for (const Ref<Row>& each : rows) keys.push_back(each->key());
    EXPECT_EQ(keys, sortGroups(given));
  } while (std::ranges::next_permutation(given).found);
}

TEST(RowOrder, AsksTheNextSortWhenTheFirstIsEven) {
  std::vector<Ref<Row>> rows;
  for (ObjectKey key = 1; key <= 4; ++key) {
    Ref<Row> made = titled(key, key % 2 == 0 ? "a" : "b");
    made->setInteger(note().property("rank")->slot(), key);
    rows.push_back(std::move(made));
  }

  EXPECT_EQ(sorted(rows, {by("title"), by("rank", false)}), (Keys{4, 2, 3, 1}));
}

TEST(RowOrder, SortsReferencesByKeyAndObjectsByTheirOwn) {
  std::vector<Ref<Row>> rows;
  for (const ObjectKey parent : {5, -3, 0, 2}) {
    Ref<Row> made = row(static_cast<ObjectKey>(rows.size()) + 1);
    made->setReference(note().property("parent")->slot(), parent);
    rows.push_back(std::move(made));
  }

  EXPECT_EQ(sorted(rows, {by("parent")}), (Keys{3, 4, 1, 2}));
  EXPECT_EQ(sorted(rows, {{coredata::resolvePath(note(), std::vector<std::string>{}), false}}),
            (Keys{4, 3, 2, 1}));
}

TEST(RowOrder, SortsAsTheComparisonSays) {
  std::mt19937_64 random(20240612);
  const auto slot = [](const char* name) { return note().property(name)->slot(); };
  std::vector<Ref<Row>> rows;
  for (ObjectKey key = 1; key <= 2000; ++key) {
    Ref<Row> made = row(key);
    const auto number = static_cast<std::int64_t>(random());
    if (random() % 4 != 0) Row::setText(made, slot("title"), std::to_string(number % 100));
    Row::setText(made, slot("day"), std::to_string(20'000'000 + random() % 50));
    made->setInteger(slot("week"), static_cast<std::int64_t>(random() % 7) - 3);
    if (random() % 4 != 0) made->setInteger(slot("rank"), random() % 2 == 0 ? number : number % 5);
    if (random() % 4 != 0) made->setReal(slot("score"), static_cast<double>(number % 7) / 2);
    if (random() % 4 != 0) {
      foundation::UUID::Bytes bytes{};
      bytes.front() = static_cast<std::uint8_t>(random());
      Row::setIdentifier(made, slot("code"), foundation::UUID(bytes));
    }
    rows.push_back(std::move(made));
  }
  std::ranges::shuffle(rows, random);
  for (const char* key : {"title", "rank", "score", "code", "day", "week"}) {
    for (const bool ascending : {true, false}) {
      const std::vector<SortTerm> sorts = {by(key, ascending), by("week", false), by("rank")};

      coredata::sortRows(rows, sorts);

      EXPECT_TRUE(std::ranges::is_sorted(rows, [&](const Ref<Row>& a, const Ref<Row>& b) {
        const auto order = coredata::compareRows(*a, *b, sorts);
        return order != 0 ? order < 0 : a->key() < b->key();
      })) << key;
    }
  }
}

}  // namespace
