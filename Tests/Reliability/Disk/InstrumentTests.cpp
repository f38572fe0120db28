#include <fcntl.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <vector>

#include "Foundation/Internal/FileSystem.h"
#include "Tests/Support/CrashRunner.h"
#include "Tests/Support/FileFaults.h"
#include "Tests/Support/TemporaryDirectory.h"

// That the disks which the other tests have fail do fail as they say.

namespace {

using support::DiskSpace;
using support::FaultVFS;
using support::FaultyFileSystem;
using support::FileFault;
using support::FileOperation;

namespace fs = std::filesystem;

constexpr const char* kMakeTable = "CREATE TABLE t (a); INSERT INTO t VALUES (zeroblob(100000))";

class Disk : public testing::Test {
 protected:
  /// Runs SQL over the file layer; SQLite's code.
  int execute(const FaultVFS& vfs, const char* sql) const {
    sqlite3* database = nullptr;
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
    int result = sqlite3_open_v2(database_.c_str(), &database, flags, vfs.name());
    if (result == SQLITE_OK) result = sqlite3_exec(database, sql, nullptr, nullptr, nullptr);
    sqlite3_close(database);
    return result;
  }
  /// Which write of making the table is the first to the database itself.
  [[nodiscard]] std::size_t firstWriteToDatabase() const {
    FaultVFS vfs;
    vfs.watch(bit(FileOperation::write));
    static_cast<void>(execute(vfs, kMakeTable));
    const auto records = vfs.records();
    fs::remove(database_);
    const auto found = std::ranges::find(records, "", &FaultVFS::Record::file);
    return static_cast<std::size_t>(found - records.begin()) + 1;
  }
  /// Writes bytes into a new file; 0 or the error's number.
  [[nodiscard]] int write(std::size_t bytes) const {
    const auto file = foundation::FileDescriptor::open(AT_FDCWD, file_.c_str(),
                                                       O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (!file) return file.error();
    const std::vector<std::uint8_t> content(bytes, 7);
    const auto result = foundation::writeAll(file->get(), content);
    return result ? 0 : result.error();
  }

  support::TemporaryDirectory directory_;
  fs::path database_ = directory_.path() / "database";
  fs::path file_ = directory_.path() / "file";
};

TEST_F(Disk, DoesTheSectorsOfATornWriteThatWereToBeDone) {
  const std::size_t first = firstWriteToDatabase();

  const auto outcome = support::runInChild([&](const auto&) {
    FaultVFS vfs;
    vfs.watch(bit(FileOperation::write));
    vfs.tearAndKillAt(first, 1100);
    static_cast<void>(execute(vfs, kMakeTable));
  });

  EXPECT_TRUE(outcome.wasKilled());
  EXPECT_EQ(fs::file_size(database_), 1024U);
}

TEST_F(Disk, DoesTheSectorsOfATornWriteOfOtherFilesToo) {
  FaultyFileSystem files(FileFault::tearOnce, 2, EIO);
  files.setTornBytes(1100);

  EXPECT_EQ(write(5000), EIO);

  EXPECT_EQ(fs::file_size(file_), 1024U);
  EXPECT_EQ(write(5000), 0);
}

TEST_F(Disk, AnswersWithTheCodeOfTheOperation) {
  FaultVFS vfs;
  vfs.watch(bit(FileOperation::sync));
  vfs.failAt(1, FaultVFS::kCodeOfOperation);
  EXPECT_EQ(execute(vfs, kMakeTable), SQLITE_IOERR);
  vfs.watch(bit(FileOperation::create) | bit(FileOperation::open));
  vfs.reset();
  vfs.failAt(1, FaultVFS::kCodeOfOperation);
  EXPECT_EQ(execute(vfs, kMakeTable), SQLITE_CANTOPEN);
}

TEST_F(Disk, TakesItsTime) {
  FaultVFS vfs;
  vfs.delay(std::chrono::milliseconds(2));
  const auto start = std::chrono::steady_clock::now();

  EXPECT_EQ(execute(vfs, kMakeTable), SQLITE_OK);

  EXPECT_GE(std::chrono::steady_clock::now() - start, vfs.count() * std::chrono::milliseconds(2));
}

TEST_F(Disk, IsFullAfterSoManyBytesAndHasRoomAgainForWhatIsRemoved) {
  DiskSpace space;
  FaultyFileSystem files;
  files.setSpace(&space);
  space.limit(3000);

  EXPECT_EQ(write(5000), ENOSPC);
  EXPECT_EQ(fs::file_size(file_), 3000U);
  EXPECT_TRUE(space.ranOut());
  EXPECT_EQ(write(2000), 0);
  EXPECT_EQ(space.taken(), 2000);
  ASSERT_TRUE(foundation::FileSystem::current().unlink(AT_FDCWD, file_.c_str(), 0));
  EXPECT_EQ(space.taken(), 0);
  EXPECT_EQ(space.most(), 3000);
}

TEST_F(Disk, HasOneRoomForSQLiteAndEverybodyElse) {
  DiskSpace space;
  FaultVFS vfs;
  vfs.setSpace(&space);
  FaultyFileSystem files;
  files.setSpace(&space);
  ASSERT_EQ(execute(vfs, kMakeTable), SQLITE_OK);
  EXPECT_EQ(space.taken(), static_cast<std::int64_t>(fs::file_size(database_)));

  space.limit(60'000);
  EXPECT_EQ(write(50'000), 0);
  EXPECT_EQ(execute(vfs, "INSERT INTO t VALUES (zeroblob(40000))"), SQLITE_FULL);
  EXPECT_EQ(write(0), 0);
  EXPECT_EQ(execute(vfs, "INSERT INTO t VALUES (zeroblob(40000))"), SQLITE_OK);
}

TEST_F(Disk, CountsTheSharedMemoryOfALog) {
  DiskSpace space;
  FaultVFS vfs;
  vfs.setSpace(&space);
  ASSERT_EQ(execute(vfs, kMakeTable), SQLITE_OK);
  const std::int64_t before = space.taken();

  ASSERT_EQ(execute(vfs, "PRAGMA journal_mode=WAL; INSERT INTO t VALUES (1)"), SQLITE_OK);

  EXPECT_EQ(space.taken(), before);
  EXPECT_GE(space.most(), before + 32 * 1024);
  space.limit(20'000);
  EXPECT_NE(execute(vfs, "INSERT INTO t VALUES (2)"), SQLITE_OK);
  space.lift();
  EXPECT_EQ(execute(vfs, "INSERT INTO t VALUES (3)"), SQLITE_OK);
}

}  // namespace
