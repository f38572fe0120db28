#include "CoreData/SQLite/WriteTransaction.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "CoreData/SQLite/SQLiteStoreError.h"
#include "Tests/CoreData/SQLite/StoreFixture.h"

namespace {
using coredata::ObjectKey;
using coredata::ReadSession;
using coredata::Row;
using coredata::SlotMask;
using coredata::SQLiteStore;
using coredata::StoreErrorCode;
using coredata::WriteTransaction;
using foundation::Ref;
using shelf::code;
using shelf::entity;
using shelf::slot;
using shelf::StoreFile;
using Lines = std::vector<std::string>;

constexpr std::size_t kManyBooks = 50;

/// Books with successive keys from 1 on, with every kind of value and without.
std::vector<Ref<Row>> variedBooks(const SQLiteStore& store) {
  std::vector<Ref<Row>> rows;
  for (std::size_t number = 0; number < kManyBooks; ++number) {
    Ref<Row> row = shelf::book(store, number % 3 == 0 ? "" : "Emma \xF0\x9F\x93\x96", 12);
    const auto value = static_cast<std::uint8_t>(number);
    if (number % 2 == 0) row->setInteger(slot(store, "pages"), value);
    if (number % 5 != 0) row->setReal(slot(store, "weight"), value / 7.0);
    if (number % 7 != 0) row->setDate(slot(store, "bought"), value * 1e6);
    const std::vector<std::uint8_t> cover(number, value);
    if (number % 4 != 1) Row::setBytes(row, slot(store, "cover"), cover);
    const foundation::UUID::Bytes code{value, 1, 2, 3};
    if (number % 4 != 2) Row::setIdentifier(row, slot(store, "code"), foundation::UUID(code));
    row->setKey(static_cast<ObjectKey>(number) + 1);
    row->setVersion(1);
    rows.push_back(std::move(row));
  }
  return rows;
}

std::vector<const Row*> addresses(const std::vector<Ref<Row>>& rows) {
  std::vector<const Row*> result;
  for (const Ref<Row>& row : rows) result.push_back(row.get());
  return result;
}
}  // namespace

TEST(WriteTransaction, WritesEveryKindOfValueAndReadsItBack) {
  const StoreFile file;
  const auto store = file.open();
  ReadSession session(store);
  const foundation::UUID identifier;
  const std::vector<std::uint8_t> bytes = {0, 255, 7};
  Ref<Row> row = shelf::book(*store, std::string_view("a\0b", 3), 12);
  row->setInteger(slot(*store, "pages"), -5);
  row->setReal(slot(*store, "weight"), std::numeric_limits<double>::denorm_min());
  row->setDate(slot(*store, "bought"), 1e9 + 1e-7);
  row->setInteger(slot(*store, "lent"), 1);
  Row::setBytes(row, slot(*store, "cover"), bytes);
  Row::setIdentifier(row, slot(*store, "code"), identifier);
  {
    WriteTransaction transaction(session);
    row->setKey(transaction.reserveKeys(entity(*store, "Book"), 1));
    transaction.insert(*row);
    transaction.commit({});
  }
  store->close();

  ReadSession again(file.open());
  const Ref<Row> read = again.row(entity(*again.store(), "Book"), row->key());

  ASSERT_TRUE(read);
  EXPECT_EQ(read->version(), 1);
  for (coredata::SlotIndex index = 0; index < read->slotCount(); ++index) {
    EXPECT_TRUE(read->slotEquals(index, *row)) << index;
  }
}

TEST(WriteTransaction, WritesManyRowsAsItWritesOne) {
  const StoreFile alone;
  const StoreFile together;
  ReadSession aloneSession(alone.open());
  ReadSession togetherSession(together.open());
  {
    WriteTransaction transaction(aloneSession);
    for (const Ref<Row>& row : variedBooks(*aloneSession.store())) transaction.insert(*row);
    transaction.commit({});
  }
  {
    const std::vector<Ref<Row>> rows = variedBooks(*togetherSession.store());
    WriteTransaction transaction(togetherSession);
    transaction.insert(addresses(rows));
    transaction.commit({});
  }

  const std::string books = "SELECT *, hex(cover), hex(code) FROM Book ORDER BY _id";
  const std::string changes = "SELECT * FROM _change ORDER BY sequence";
  EXPECT_EQ(shelf::query(together.path(), books).size(), kManyBooks);
  EXPECT_EQ(shelf::query(together.path(), books), shelf::query(alone.path(), books));
  EXPECT_EQ(shelf::query(together.path(), changes).size(), kManyBooks);
  EXPECT_EQ(shelf::query(together.path(), changes), shelf::query(alone.path(), changes));
}

TEST(WriteTransaction, UndoesManyRowsOfWhichOneCannotBeWritten) {
  const StoreFile file;
  ReadSession session(file.open());
  {
    std::vector<Ref<Row>> rows = variedBooks(*session.store());
    rows.back()->setKey(1);
    WriteTransaction transaction(session);
    EXPECT_THROW(transaction.insert(addresses(rows)), foundation::Error);
  }

  EXPECT_EQ(shelf::query(file.path(), "SELECT count(*) FROM Book"), Lines{"0"});
  EXPECT_EQ(shelf::insertBook(session, "Emma"), 1);
}

TEST(WriteTransaction, KeepsAbsentZeroAndEmptyApart) {
  const StoreFile file;
  const auto store = file.open();
  ReadSession session(store);
  const auto empty = shelf::insertBook(session, "");
  store->close();

  ReadSession again(file.open());
  const Ref<Row> row = again.row(entity(*again.store(), "Book"), empty);

  EXPECT_EQ(row->tag(slot(*again.store(), "title")), coredata::SlotTag::text);
  EXPECT_EQ(row->tag(slot(*again.store(), "pages")), coredata::SlotTag::none);
  EXPECT_EQ(row->tag(slot(*again.store(), "shelf")), coredata::SlotTag::none);
}

TEST(WriteTransaction, UndoesEverythingUnlessCommitted) {
  const StoreFile file;
  ReadSession session(file.open());
  {
    WriteTransaction transaction(session);
    Ref<Row> row = shelf::book(*session.store(), "Emma");
    row->setKey(transaction.reserveKeys(row->entity(), 1));
    transaction.insert(*row);
    EXPECT_TRUE(transaction.exists(row->entity(), row->key()));
  }

  EXPECT_EQ(shelf::titleOf(session, 1), "-");
  EXPECT_EQ(session.newestTransaction().number, 0);
}

TEST(WriteTransaction, GivesKeysInARowAndNeverTwice) {
  const StoreFile file;
  const auto store = file.open();
  ReadSession session(store);
  WriteTransaction transaction(session);

  EXPECT_EQ(transaction.reserveKeys(entity(*store, "Book"), 3), 1);
  EXPECT_EQ(transaction.reserveKeys(entity(*store, "Book"), 1), 4);
  EXPECT_EQ(transaction.reserveKeys(entity(*store, "Shelf"), 1), 1);
}

TEST(WriteTransaction, DoesNotReuseTheHighestKeyOnceItsRowWasRemoved) {
  const StoreFile file;
  {
    ReadSession session(file.open());
    shelf::insertBook(session, "Emma");
    const ObjectKey last = shelf::insertBook(session, "Persuasion");
    ASSERT_TRUE(shelf::removeBook(session, last));
  }

  ReadSession session(file.open());

  EXPECT_EQ(shelf::insertBook(session, "Sanditon"), 3);
}

TEST(WriteTransaction, DoesNotReuseKeysOfATableThatWasEmptied) {
  const StoreFile file;
  {
    ReadSession session(file.open());
    for (int i = 0; i < 3; ++i) shelf::insertBook(session, "Emma");
    for (const ObjectKey key : {3, 1, 2}) ASSERT_TRUE(shelf::removeBook(session, key));
  }

  ReadSession session(file.open());

  EXPECT_EQ(shelf::insertBook(session, "Sanditon"), 4);
}

TEST(WriteTransaction, WritesNoMarkWhileAHigherKeyIsInUse) {
  const StoreFile file;
  ReadSession session(file.open());
  const ObjectKey first = shelf::insertBook(session, "Emma");
  shelf::insertBook(session, "Persuasion");
  ASSERT_TRUE(shelf::removeBook(session, first));

  EXPECT_EQ(shelf::query(file.path(), "SELECT * FROM _mark WHERE name='Book'"), Lines{});
}

TEST(WriteTransaction, SeesTheKeysThatAnotherStoreGave) {
  const StoreFile file;
  ReadSession one(file.open());
  ReadSession other(file.open());

  EXPECT_EQ(shelf::insertBook(one, "a"), 1);
  EXPECT_EQ(shelf::insertBook(other, "b"), 2);
  EXPECT_EQ(shelf::insertBook(one, "c"), 3);
  ASSERT_TRUE(shelf::removeBook(other, 3));
  EXPECT_EQ(shelf::insertBook(one, "d"), 4);
}

TEST(WriteTransaction, RefusesToRunOutOfKeys) {
  const StoreFile file;
  file.open()->close();
  shelf::query(file.path(), "INSERT INTO Book(_id, _version) VALUES(9223372036854775806, 1)");
  ReadSession session(file.open());

  EXPECT_EQ(shelf::errorCode([&] { shelf::insertBook(session, "Emma"); }),
            code(StoreErrorCode::keysExhausted));
}

TEST(WriteTransaction, UpdatesTheChangedColumnsOnly) {
  const StoreFile file;
  ReadSession session(file.open());
  const auto& store = *session.store();
  const ObjectKey key = shelf::insertBook(session, "Emma");
  WriteTransaction transaction(session);
  Ref<Row> row = shelf::book(store, "Persuasion");
  row->setKey(key);
  row->setVersion(2);
  row->setInteger(slot(store, "pages"), 400);

  EXPECT_TRUE(transaction.update(*row, SlotMask{1} << slot(store, "pages"), 1));
  transaction.commit({});

  EXPECT_EQ(shelf::query(file.path(), "SELECT title, pages, _version FROM Book"),
            Lines{"Emma|400|2"});
}

TEST(WriteTransaction, RefusesToChangeARowOfAnotherVersion) {
  const StoreFile file;
  ReadSession session(file.open());
  const auto& book = entity(*session.store(), "Book");
  const ObjectKey key = shelf::insertBook(session, "Emma");
  ASSERT_TRUE(shelf::setTitle(session, key, "Persuasion"));
  Ref<Row> row = session.row(book, key)->copy();
  WriteTransaction transaction(session);

  EXPECT_FALSE(transaction.update(*row, 1, 1));
  EXPECT_FALSE(transaction.remove(book, key, 1));
  EXPECT_FALSE(transaction.remove(book, 99, 1));
  EXPECT_FALSE(transaction.commit({}).wroteChanges);
}

TEST(WriteTransaction, ReadsTheRowAsItIsNowAndNotAsItWasCached) {
  const StoreFile file;
  ReadSession mine(file.open());
  ReadSession others(file.open());
  const ObjectKey key = shelf::insertBook(mine, "Emma");
  EXPECT_EQ(shelf::titleOf(mine, key), "Emma");
  ASSERT_TRUE(shelf::setTitle(others, key, "Persuasion"));

  WriteTransaction transaction(mine);
  const Ref<Row> row = transaction.row(entity(*mine.store(), "Book"), key);

  EXPECT_EQ(row->text(slot(*mine.store(), "title")), "Persuasion");
}

TEST(WriteTransaction, GivesMembersInTheOrderOfTheirKeys) {
  const StoreFile file;
  ReadSession session(file.open());
  const auto& store = *session.store();
  for (const char* title : {"c", "a", "b"}) shelf::insertBook(session, title, 5);
  shelf::insertBook(session, "d", 6);
  WriteTransaction transaction(session);

  EXPECT_EQ(transaction.members(*entity(store, "Shelf").relationship("books"), 5),
            (std::vector<ObjectKey>{1, 2, 3}));
}

TEST(WriteTransaction, WaitsForAnotherWriterOnlySoLong) {
  const StoreFile file;
  ReadSession mine(file.open());
  ReadSession others(file.open());
  const WriteTransaction blocking(others);

  EXPECT_EQ(shelf::errorCode([&] { const WriteTransaction transaction(mine); }),
            code(StoreErrorCode::busy));
}

TEST(WriteTransaction, WaitsForAWriterOfTheSameStoreOnlySoLong) {
  const StoreFile file;
  const auto store = file.open();
  ReadSession mine(store);
  ReadSession others(store);
  const WriteTransaction blocking(others);

  EXPECT_EQ(shelf::errorCode([&] { const WriteTransaction transaction(mine); }),
            code(StoreErrorCode::busy));
}

TEST(WriteTransaction, LeavesTheStoreUsableAfterItWasTurnedAway) {
  const StoreFile file;
  ReadSession mine(file.open());
  {
    ReadSession others(file.open());
    const WriteTransaction blocking(others);
    EXPECT_NE(shelf::errorCode([&] { const WriteTransaction transaction(mine); }), 0);
  }

  EXPECT_EQ(shelf::insertBook(mine, "Emma"), 1);
}

TEST(WriteTransaction, NamesTheStatementButNotTheValuesInAnError) {
  const StoreFile file;
  ReadSession session(file.open());
  const ObjectKey key = shelf::insertBook(session, "dear diary");
  std::string message;
  try {
    WriteTransaction transaction(session);
    Ref<Row> row = shelf::book(*session.store(), "dear diary");
    row->setKey(key);
    transaction.insert(*row);
  } catch (const foundation::Error& error) {
    EXPECT_EQ(error.domain(), foundation::kSQLiteErrorDomain);
    EXPECT_EQ(error.code(), SQLITE_CONSTRAINT_PRIMARYKEY);
    message = error.message();
  }

  EXPECT_NE(message.find("INSERT INTO \"Book\""), std::string::npos);
  EXPECT_EQ(message.find("diary"), std::string::npos);
}
