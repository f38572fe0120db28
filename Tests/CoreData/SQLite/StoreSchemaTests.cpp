#include "CoreData/SQLite/StoreSchema.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "CoreData/Model/ModelBuilder.h"
#include "CoreData/SQLite/SQLiteStore.h"
#include "Tests/CoreData/SQLite/StoreFixture.h"

namespace {
using coredata::SchemaObject;

std::vector<std::string> texts(const std::vector<SchemaObject>& schema) {
  std::vector<std::string> result;
  for (const SchemaObject& object : schema) result.push_back(object.sql);
  return result;
}

bool isShelfSchema(const std::vector<coredata::SchemaObject>& objects) {
  std::size_t given = 0;
  const auto next = [&]() -> std::optional<coredata::SchemaEntry> {
    if (given == objects.size()) return std::nullopt;
    const coredata::SchemaObject& object = objects[given++];
    return coredata::SchemaEntry{object.name, object.sql};
  };
  return coredata::isSchemaOf(*shelf::model(), next);
}
}  // namespace

TEST(StoreSchema, IsRecognisedAsItIsMade) {
  EXPECT_TRUE(isShelfSchema(coredata::storeSchema(*shelf::model())));
}

TEST(StoreSchema, IsNotRecognisedWithAnyDifference) {
  const auto made = coredata::storeSchema(*shelf::model());
  for (std::size_t place = 0; place < made.size(); ++place) {
    auto changed = made;
    changed[place].sql.pop_back();
    EXPECT_FALSE(isShelfSchema(changed)) << place;
    changed = made;
    changed[place].sql += " ";
    EXPECT_FALSE(isShelfSchema(changed)) << place;
    changed = made;
    changed[place].name += "s";
    EXPECT_FALSE(isShelfSchema(changed)) << place;
    changed = made;
    changed.erase(changed.begin() + static_cast<std::ptrdiff_t>(place));
    EXPECT_FALSE(isShelfSchema(changed)) << place;
    changed = made;
    changed.insert(changed.begin() + static_cast<std::ptrdiff_t>(place), made[place]);
    EXPECT_FALSE(isShelfSchema(changed)) << place;
  }
}

TEST(StoreSchema, GivesAnIndexOfEverythingTheVersionToo) {
  const auto model = coredata::modelFromSource(R"({"identifiers": ["Shelf 1"], "entities": {
      "Book": {"attributes": {"title": "text", "pages": "integer32"},
               "indexes": {"byTitle": ["title"], "whole": ["title", "pages"]}}}})");

  EXPECT_THAT(texts(coredata::storeSchema(*model)),
              testing::IsSupersetOf(
                  {R"(CREATE INDEX "Book_byTitle" ON "Book"("title"))",
                   R"(CREATE INDEX "Book_whole" ON "Book"("title", "pages", _version))"}));
}

TEST(StoreSchema, HasNothingForAnAbstractEntity) {
  const auto model = coredata::modelFromSource(R"({"identifiers": ["Shelf 1"], "entities": {
      "Book": {"attributes": {"title": "text"}, "indexes": {"byTitle": ["title"]}},
      "Thing": {"abstract": true, "attributes": {"name": "text"}, "indexes": {"byName": ["name"]}}}})");
  for (const SchemaObject& object : coredata::storeSchema(*model)) {
    EXPECT_EQ(object.sql.find("Thing"), std::string::npos) << object.sql;
  }
  const shelf::StoreFile file;
  for (int opening = 0; opening < 2; ++opening) {
    coredata::SQLiteStore::open(file.options(), model)->close();
  }

  EXPECT_EQ(shelf::query(file.path(), "SELECT name FROM sqlite_schema WHERE name LIKE '%hing%'"),
            std::vector<std::string>{});
}

TEST(StoreSchema, IsMadeOfTheTablesEveryStoreHasThoseOfTheEntitiesAndTheirIndexes) {
  const std::vector<std::string> expected = {
      "CREATE TABLE _metadata(key TEXT PRIMARY KEY, value TEXT NOT NULL) WITHOUT ROWID",
      "CREATE TABLE _mark(name TEXT PRIMARY KEY, value NOT NULL) WITHOUT ROWID",
      "CREATE TABLE _name(id INTEGER PRIMARY KEY, text TEXT NOT NULL UNIQUE)",
      "CREATE TABLE _transaction(number INTEGER PRIMARY KEY, timestamp REAL NOT NULL, author "
      "INTEGER, "
      "contextName INTEGER, bundle INTEGER, process INTEGER)",
      "CREATE TABLE _change(\"transaction\" INTEGER NOT NULL, sequence INTEGER NOT NULL, entity "
      "INTEGER "
      "NOT NULL, key INTEGER NOT NULL, kind INTEGER NOT NULL, changed INTEGER, PRIMARY "
      "KEY(\"transaction\", sequence)) WITHOUT ROWID",
      "CREATE TABLE \"Book\"(_id INTEGER PRIMARY KEY, _version INTEGER NOT NULL, \"bought\" REAL, "
      "\"code\" BLOB, \"cover\" BLOB, \"lent\" INTEGER, \"pages\" INTEGER, \"shelf\" INTEGER, "
      "\"title\" TEXT, \"weight\" REAL)",
      "CREATE TABLE \"Shelf\"(_id INTEGER PRIMARY KEY, _version INTEGER NOT NULL, \"name\" TEXT)",
      "CREATE INDEX \"Book_byShelfAndTitle\" ON \"Book\"(\"shelf\", \"title\")",
  };

  EXPECT_EQ(texts(coredata::storeSchema(*shelf::model())), expected);
}

TEST(StoreSchema, IsKeptByTheFileLetterByLetter) {
  const shelf::StoreFile file;
  file.open()->close();

  const auto kept = shelf::query(
      file.path(), "SELECT sql FROM sqlite_master WHERE sql IS NOT NULL ORDER BY rootpage, rowid");
  auto made = texts(coredata::storeSchema(*shelf::model()));

  EXPECT_EQ(std::set(kept.begin(), kept.end()), std::set(made.begin(), made.end()));
}

TEST(StoreSchema, MarksTheFileAsAStore) {
  const shelf::StoreFile file;
  file.open()->close();

  EXPECT_EQ(shelf::query(file.path(), "PRAGMA application_id"),
            std::vector<std::string>{"1128551252"});
  EXPECT_EQ(shelf::query(file.path(), "PRAGMA user_version"), std::vector<std::string>{"1"});
  EXPECT_EQ(shelf::query(file.path(), "PRAGMA journal_mode"), std::vector<std::string>{"wal"});
}

TEST(StoreSchema, IsReadableInAShell) {
  const shelf::StoreFile file;
  const auto store = file.open();
  coredata::ReadSession session(store);
  shelf::insertBook(session, "Emma");
  store->close();

  EXPECT_EQ(shelf::query(file.path(), "SELECT title FROM Book"), std::vector<std::string>{"Emma"});
}
