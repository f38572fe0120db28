#include "CoreData/SQLite/ReadSession.h"

#include <gtest/gtest.h>

#include <thread>

#include "CoreData/SQLite/StoreCore.h"
#include "Tests/CoreData/SQLite/StoreFixture.h"

namespace {
using coredata::ObjectKey;
using coredata::ReadSession;
using coredata::Row;
using foundation::Ref;
using shelf::StoreFile;
using shelf::titleOf;
}  // namespace

TEST(ReadSession, SeesOneStateFromItsFirstReadToItsEnd) {
  const StoreFile file;
  const auto store = file.open();
  ReadSession writer(store);
  const ObjectKey one = shelf::insertBook(writer, "a");
  const ObjectKey two = shelf::insertBook(writer, "b");
  ReadSession reader(store);
  reader.begin();
  EXPECT_EQ(titleOf(reader, one), "a");

  ASSERT_TRUE(shelf::setTitle(writer, one, "A"));
  ASSERT_TRUE(shelf::setTitle(writer, two, "B"));

  EXPECT_EQ(titleOf(reader, one), "a");
  EXPECT_EQ(titleOf(reader, two), "b");
  reader.end();
  EXPECT_EQ(titleOf(reader, one), "A");
  EXPECT_EQ(titleOf(reader, two), "B");
}

TEST(ReadSession, TakesItsStateAtTheFirstReadAndNotBefore) {
  const StoreFile file;
  const auto store = file.open();
  ReadSession writer(store);
  ReadSession reader(store);
  reader.begin();
  const ObjectKey key = shelf::insertBook(writer, "a");

  EXPECT_EQ(titleOf(reader, key), "a");
}

TEST(ReadSession, DoesNotTakeNewerRowsFromTheCacheThanItsStateHas) {
  const StoreFile file;
  const auto store = file.open();
  ReadSession writer(store);
  const ObjectKey key = shelf::insertBook(writer, "a");
  ReadSession reader(store);
  reader.begin();
  EXPECT_EQ(titleOf(reader, 99), "-");

  ASSERT_TRUE(shelf::setTitle(writer, key, "b"));
  EXPECT_EQ(titleOf(writer, key), "b");

  EXPECT_EQ(titleOf(reader, key), "a");
}

TEST(ReadSession, DoesNotPutOldRowsIntoTheCache) {
  const StoreFile file;
  const auto store = file.open();
  ReadSession writer(store);
  const ObjectKey key = shelf::insertBook(writer, "a");
  ReadSession reader(store);
  reader.begin();
  EXPECT_EQ(titleOf(reader, 99), "-");
  ASSERT_TRUE(shelf::setTitle(writer, key, "b"));
  ASSERT_TRUE(shelf::removeBook(writer, shelf::insertBook(writer, "c")));

  EXPECT_EQ(titleOf(reader, key), "a");

  EXPECT_EQ(titleOf(writer, key), "b");
}

TEST(ReadSession, RefreshedSeesWhatWasCommittedMeanwhile) {
  const StoreFile file;
  const auto store = file.open();
  ReadSession writer(store);
  const ObjectKey key = shelf::insertBook(writer, "a");
  ReadSession reader(store);
  reader.begin();
  EXPECT_EQ(titleOf(reader, key), "a");
  ASSERT_TRUE(shelf::setTitle(writer, key, "b"));

  reader.refresh();

  EXPECT_EQ(titleOf(reader, key), "b");
}

TEST(ReadSession, SeesWhatAnotherStoreOfTheFileWrote) {
  const StoreFile file;
  ReadSession mine(file.open());
  ReadSession others(file.open());
  const ObjectKey key = shelf::insertBook(mine, "a");
  EXPECT_EQ(titleOf(others, key), "a");
  ASSERT_TRUE(shelf::setTitle(others, key, "b"));

  mine.begin();

  EXPECT_EQ(titleOf(mine, key), "b");
}

TEST(ReadSession, SavesOnTheConnectionThatItReadsOn) {
  const StoreFile file;
  const auto store = file.open();
  ReadSession session(store);
  session.begin();
  EXPECT_EQ(titleOf(session, 1), "-");

  shelf::insertBook(session, "a");

  EXPECT_EQ(titleOf(session, 1), "a");
  EXPECT_EQ(store->core().pool().size(), 1U);
}

TEST(ReadSession, LetsASaveOfAnotherSessionThroughWhileItReads) {
  const StoreFile file;
  const auto store = file.open();
  ReadSession reader(store);
  reader.begin();
  EXPECT_EQ(titleOf(reader, 1), "-");

  ReadSession writer(store);
  shelf::insertBook(writer, "a");

  EXPECT_EQ(store->core().pool().size(), 2U);
}

TEST(ReadSession, UsesOneConnectionWhenNothingOverlaps) {
  const StoreFile file;
  const auto store = file.open();
  for (int i = 0; i < 5; ++i) {
    ReadSession session(store);
    session.begin();
    EXPECT_EQ(titleOf(session, 1 + i), "-");
    shelf::insertBook(session, "a");
  }

  EXPECT_EQ(store->core().pool().size(), 1U);
}

TEST(ReadSession, GivesRowsInTheOrderAskedForAndNoneForThoseGone) {
  const StoreFile file;
  ReadSession session(file.open());
  const auto& store = *session.store();
  for (const char* title : {"a", "b", "c"}) shelf::insertBook(session, title);
  ASSERT_TRUE(shelf::removeBook(session, 2));
  std::vector<Ref<Row>> rows;
  const std::vector<ObjectKey> keys = {3, 2, 1, 3};

  session.rows(shelf::entity(store, "Book"), keys, rows);

  ASSERT_EQ(rows.size(), 4U);
  EXPECT_EQ(rows[0]->key(), 3);
  EXPECT_FALSE(rows[1]);
  EXPECT_EQ(rows[2]->key(), 1);
  EXPECT_EQ(rows[3], rows[0]);
}

TEST(ReadSession, SharesRowsBetweenSessions) {
  const StoreFile file;
  const auto store = file.open();
  ReadSession one(store);
  ReadSession other(store);
  const ObjectKey key = shelf::insertBook(one, "a");
  const auto& book = shelf::entity(*store, "Book");

  EXPECT_EQ(one.row(book, key), other.row(book, key));
}

TEST(ReadSession, RefusesAnIdentifierOfTheWrongLength) {
  const StoreFile file;
  {
    ReadSession session(file.open());
    shelf::insertBook(session, "a");
  }
  shelf::query(file.path(), "UPDATE Book SET code=x'0102'");
  ReadSession session(file.open());

  EXPECT_NE(shelf::errorCode([&] { static_cast<void>(titleOf(session, 1)); }), 0);
}

TEST(ReadSession, StaysConsistentWhileOthersWrite) {
  const StoreFile file;
  coredata::StoreOptions options = file.options();
  options.busyTimeout = std::chrono::seconds(10);
  const auto store = file.open(options);
  ReadSession setup(store);
  const ObjectKey one = shelf::insertBook(setup, "0");
  const ObjectKey two = shelf::insertBook(setup, "0");
  constexpr int kRounds = 150;
  std::thread writer([&] {
    ReadSession session(store);
    const auto& book = shelf::entity(*store, "Book");
    const auto title = shelf::slot(*store, "title");
    for (int round = 1; round <= kRounds; ++round) {
      coredata::WriteTransaction transaction(session);
      for (const ObjectKey key : {one, two}) {
        const Ref<Row> old = transaction.row(book, key);
        Ref<Row> row = old->copy(8);
        Row::setText(row, title, std::to_string(round));
        row->setVersion(old->version() + 1);
        EXPECT_TRUE(transaction.update(*row, coredata::SlotMask{1} << title, old->version()));
      }
      transaction.commit({});
    }
  });

  ReadSession reader(store);
  int last = 0;
  for (int round = 0; last < kRounds && round < 1'000'000; ++round) {
    reader.begin();
    // In turns, so that each of the two is the one that fixes the state.
    const std::string first = titleOf(reader, round % 2 == 0 ? one : two);
    const std::string second = titleOf(reader, round % 2 == 0 ? two : one);
    reader.end();
    ASSERT_EQ(first, second);
    ASSERT_GE(std::stoi(first), last);
    last = std::stoi(first);
  }
  writer.join();
  EXPECT_EQ(last, kRounds);
}
