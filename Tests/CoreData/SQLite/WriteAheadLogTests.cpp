#include "CoreData/SQLite/WriteAheadLog.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "CoreData/SQLite/StoreCore.h"
#include "CoreData/SQLite/StoreVFS.h"
#include "Tests/CoreData/SQLite/StoreFixture.h"
#include "Tests/Support/FaultVFS.h"

namespace {
using coredata::ObjectKey;
using coredata::ReadSession;
using coredata::Row;
using coredata::StoreVFSOverride;
using coredata::WriteTransaction;
using foundation::Ref;
using shelf::StoreFile;
using support::FaultVFS;
using support::FileOperation;

constexpr std::uintmax_t kMiB = 1 << 20;

std::uintmax_t logSize(const StoreFile& file) {
  return std::filesystem::file_size(file.path() + "-wal");
}

/// Writes so many bytes in one save.
void saveCover(ReadSession& session, std::size_t size) {
  const auto& store = *session.store();
  const std::vector<std::uint8_t> bytes(size, 7);
  Ref<Row> row = shelf::book(store, "Atlas");
  Row::setBytes(row, shelf::slot(store, "cover"), bytes);
  WriteTransaction transaction(session);
  row->setKey(transaction.reserveKeys(row->entity(), 1));
  transaction.insert(*row);
  transaction.commit({});
}

std::size_t countOf(const FaultVFS& vfs, FileOperation operation, const std::string& file) {
  std::size_t count = 0;
  for (const FaultVFS::Record& record : vfs.records()) {
    count += record.operation == operation && record.file == file ? 1U : 0U;
  }
  return count;
}
}  // namespace

TEST(WriteAheadLog, IsNotTouchedByOpening) {
  const StoreFile file;
  file.open()->close();
  FaultVFS vfs;
  const StoreVFSOverride override(vfs.name());

  ReadSession session(file.open());
  EXPECT_EQ(shelf::titleOf(session, 1), "-");

  EXPECT_EQ(countOf(vfs, FileOperation::write, "-wal"), 0U);
  EXPECT_EQ(countOf(vfs, FileOperation::truncate, "-wal"), 0U);
}

TEST(WriteAheadLog, IsGrownAheadOfTheSaves) {
  const StoreFile file;
  ReadSession session(file.open());
  shelf::insertBook(session, "a");
  EXPECT_EQ(logSize(file), kMiB);

  for (int i = 0; i < 4; ++i) saveCover(session, 300'000);

  EXPECT_EQ(logSize(file), 2 * kMiB);
  EXPECT_EQ(shelf::query(file.path(), "SELECT count(*) FROM Book"), std::vector<std::string>{"5"});
}

TEST(WriteAheadLog, IsNotLengthenedByASaveThatFindsRoom) {
  const StoreFile file;
  FaultVFS vfs;
  const StoreVFSOverride override(vfs.name());
  ReadSession session(file.open());
  shelf::insertBook(session, "a");
  vfs.reset();

  shelf::insertBook(session, "b");

  for (const FaultVFS::Record& record : vfs.records()) {
    if (record.operation == FileOperation::write) {
      EXPECT_LT(record.offset, 200'000);
    }
  }
  EXPECT_EQ(countOf(vfs, FileOperation::sync, "-wal"), 1U);
  EXPECT_EQ(countOf(vfs, FileOperation::write, ""), 0U);
}

TEST(WriteAheadLog, IsEmptyAndNotWrittenAnewWhenTheLastCloses) {
  const StoreFile file;
  FaultVFS vfs;
  const StoreVFSOverride override(vfs.name());
  const auto store = file.open();
  ReadSession session(store);
  shelf::insertBook(session, "a");
  session.end();
  vfs.reset();

  store->close();

  EXPECT_EQ(logSize(file), kMiB);
  EXPECT_EQ(countOf(vfs, FileOperation::write, "-wal"), 1U);
  EXPECT_EQ(countOf(vfs, FileOperation::truncate, "-wal"), 0U);
  EXPECT_EQ(countOf(vfs, FileOperation::sync, "-wal"), 1U);
  std::filesystem::remove(file.path() + "-wal");
  EXPECT_EQ(shelf::query(file.path(), "SELECT title FROM Book"), std::vector<std::string>{"a"});
}

TEST(WriteAheadLog, KeepsNoMoreThanIsUsefulWhenTheLastCloses) {
  const StoreFile file;
  const auto store = file.open();
  ReadSession session(store);
  ReadSession reader(store);
  reader.begin();
  EXPECT_EQ(shelf::titleOf(reader, 1), "-");
  for (int i = 0; i < 25; ++i) saveCover(session, 300'000);
  EXPECT_GT(logSize(file), 6 * kMiB);
  reader.end();
  session.end();

  store->close();

  EXPECT_EQ(logSize(file), 5 * kMiB);
  EXPECT_EQ(shelf::query(file.path(), "SELECT count(*) FROM Book"), std::vector<std::string>{"25"});
}

TEST(WriteAheadLog, IsLeftToWhoeverStillHasTheStoreOpen) {
  const StoreFile file;
  const auto other = file.open();
  ReadSession others(other);
  others.begin();
  EXPECT_EQ(shelf::titleOf(others, 1), "-");
  {
    const auto store = file.open();
    ReadSession session(store);
    shelf::insertBook(session, "a");
    session.end();
    store->close();
  }
  EXPECT_EQ(shelf::titleOf(others, 1), "-");
  others.end();

  EXPECT_EQ(shelf::titleOf(others, 1), "a");
  shelf::insertBook(others, "b");
  EXPECT_EQ(shelf::query(file.path(), "SELECT count(*) FROM Book"), std::vector<std::string>{"2"});
}

TEST(WriteAheadLog, IsCopiedWhenItHasBecomeLong) {
  const StoreFile file;
  FaultVFS vfs;
  const StoreVFSOverride override(vfs.name());
  ReadSession session(file.open());
  vfs.reset();

  for (int i = 0; i < 20; ++i) saveCover(session, 300'000);

  EXPECT_GT(countOf(vfs, FileOperation::write, ""), 900U);
  EXPECT_LT(logSize(file), 7 * kMiB);
}

TEST(WriteAheadLog, IsNotCopiedWhileSomebodyReadsAnOldState) {
  const StoreFile file;
  const auto store = file.open();
  ReadSession reader(store);
  ReadSession session(store);
  reader.begin();
  EXPECT_EQ(shelf::titleOf(reader, 1), "-");
  for (int i = 0; i < 20; ++i) saveCover(session, 300'000);
  EXPECT_EQ(shelf::titleOf(reader, 1), "-");
  EXPECT_GT(logSize(file), 6 * kMiB);
  EXPECT_FALSE(store->core().pool().log().lastFailure());

  reader.end();
  for (int i = 0; i < 5; ++i) saveCover(session, 300'000);
  const auto grown = logSize(file);
  for (int i = 0; i < 20; ++i) saveCover(session, 300'000);

  EXPECT_EQ(logSize(file), grown);
}

TEST(WriteAheadLog, IsNotCopiedWhileAnotherHoldsTheLock) {
  const StoreFile file;
  coredata::SideLock lock(file.path() + "-lock");
  const auto guard = lock.tryLock();
  ASSERT_TRUE(guard);
  FaultVFS vfs;
  const StoreVFSOverride override(vfs.name());
  ReadSession session(file.open());
  vfs.reset();

  for (int i = 0; i < 20; ++i) saveCover(session, 300'000);

  EXPECT_EQ(countOf(vfs, FileOperation::write, ""), 0U);
}

TEST(WriteAheadLog, DoesNotFailTheSaveWhenItCannotBeCopied) {
  const StoreFile file;
  FaultVFS vfs;
  const StoreVFSOverride override(vfs.name());
  const auto store = file.open();
  ReadSession session(store);
  vfs.reset();
  for (int i = 0; i < 10; ++i) saveCover(session, 300'000);
  ASSERT_EQ(countOf(vfs, FileOperation::write, ""), 0U);
  // The save that makes the log long enough syncs it once, and the checkpoint begins with another
  // sync.
  while (store->core().pool().size() == 1 && !store->core().pool().log().lastFailure() &&
         countOf(vfs, FileOperation::write, "") == 0) {
    vfs.reset();
    vfs.watch(support::bit(FileOperation::sync));
    vfs.failAt(2, SQLITE_IOERR_FSYNC);
    saveCover(session, 300'000);
  }
  ASSERT_TRUE(store->core().pool().log().lastFailure());
  EXPECT_EQ(store->core().pool().log().lastFailure().value_or(SQLITE_OK) & 0xff, SQLITE_IOERR);

  vfs.reset();
  const ObjectKey key = shelf::insertBook(session, "after");

  EXPECT_EQ(shelf::titleOf(session, key), "after");
}

TEST(SideLock, KeepsOthersOutUntilItIsReleased) {
  const StoreFile file;
  coredata::SideLock one(file.path() + "-lock");
  coredata::SideLock other(file.path() + "-lock");
  {
    const auto guard = one.tryLock();
    EXPECT_TRUE(guard);
    EXPECT_FALSE(other.tryLock());
    EXPECT_FALSE(one.tryLock());
  }

  EXPECT_TRUE(other.tryLock());
}

TEST(SideLock, IsNotHadWhereItsFileCannotBe) {
  coredata::SideLock lock("/nonexistent/lock");

  EXPECT_FALSE(lock.tryLock());
}
