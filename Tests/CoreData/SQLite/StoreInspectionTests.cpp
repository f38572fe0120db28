#include "CoreData/SQLite/StoreInspection.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "CoreData/SQLite/ReadSession.h"
#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/StoreVFS.h"
#include "Tests/CoreData/SQLite/StoreFixture.h"
#include "Tests/Support/CrashRunner.h"
#include "Tests/Support/FaultVFS.h"

namespace {

namespace fs = std::filesystem;

using coredata::ReadSession;
using coredata::StoredRow;
using coredata::StoredValue;
using coredata::StoreErrorCode;
using coredata::StoreInspection;
using shelf::StoreFile;
using support::number;
using testing::ElementsAre;
using Kind = StoredValue::Kind;

/// What lies in a store's directory, byte for byte. While nobody has the store open.
std::map<std::string, std::string> filesOf(const StoreFile& file) {
  std::map<std::string, std::string> files;
  for (const std::string& name : file.names())
    files[name] = shelf::readFile((file.directory() / name).string());
  return files;
}

std::vector<std::string> titlesIn(StoreInspection& inspection) {
  const auto model = shelf::model();
  const auto& book = *model->entity("Book");
  const std::size_t title = 2 + book.attribute("title")->slot();
  std::vector<std::string> titles;
  inspection.visitRows(book, [&](StoredRow row) { titles.emplace_back(row[title].content); });
  return titles;
}

std::vector<std::string> titlesIn(const StoreFile& file) {
  StoreInspection inspection(file.url());
  return titlesIn(inspection);
}

void fill(const StoreFile& file) {
  ReadSession session(file.open());
  shelf::insertBook(session, "Emma");
}

/// Leaves a store as a process does that dies with a commit in the log.
void fillAndDie(const StoreFile& file) {
  const auto outcome = support::runInChild([&](const support::Acknowledgements&) {
    ReadSession session(file.open());
    shelf::insertBook(session, "Emma");
    _exit(0);
  });
  ASSERT_EQ(outcome.exitStatus, 0);
}

std::int64_t inspectionError(const StoreFile& file) {
  return support::errorCode([&] { const StoreInspection inspection(file.url()); });
}

/// The locks of this process on a file, as another one meets them.
bool isLockedByUs(const std::string& path) {
  const auto outcome = support::runInChild([&](const support::Acknowledgements&) {
    const int descriptor = open(path.c_str(), O_RDWR | O_CLOEXEC);
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    const int result = fcntl(descriptor, F_GETLK, &lock);
    _exit(result != 0 ? 2 : lock.l_type == F_UNLCK ? 0 : 1);
  });
  EXPECT_LT(outcome.exitStatus, 2);
  return outcome.exitStatus == 1;
}

}  // namespace

TEST(StoreInspection, ReadsAClosedStoreWithoutATrace) {
  const StoreFile file;
  fill(file);
  const auto before = filesOf(file);

  EXPECT_THAT(titlesIn(file), ElementsAre("Emma"));

  EXPECT_EQ(filesOf(file), before);
}

TEST(StoreInspection, ReadsACopyOfTheFileAlone) {
  const StoreFile file;
  fill(file);
  const StoreFile copy;
  fs::copy_file(file.path(), copy.path());
  const auto before = filesOf(copy);

  EXPECT_THAT(titlesIn(copy), ElementsAre("Emma"));

  EXPECT_EQ(filesOf(copy), before);
}

TEST(StoreInspection, ReadsTheLogOfAProcessThatDied) {
  const StoreFile file;
  fillAndDie(file);
  const auto before = filesOf(file);
  ASSERT_TRUE(before.contains("shelf.sqlite-shm"));

  EXPECT_THAT(titlesIn(file), ElementsAre("Emma"));

  EXPECT_EQ(filesOf(file), before);
}

TEST(StoreInspection, ReadsALogWithoutItsIndex) {
  const StoreFile file;
  fillAndDie(file);
  const StoreFile copy;
  fs::copy_file(file.path(), copy.path());
  fs::copy_file(file.path() + "-wal", copy.path() + "-wal");
  const auto before = filesOf(copy);

  EXPECT_THAT(titlesIn(copy), ElementsAre("Emma"));

  EXPECT_EQ(filesOf(copy), before);
}

TEST(StoreInspection, ReadsAnOpenStoreInOneState) {
  const StoreFile file;
  ReadSession session(file.open());
  shelf::insertBook(session, "Emma");
  const auto before = file.names();

  {
    StoreInspection inspection(file.url());
    shelf::insertBook(session, "Persuasion");

    EXPECT_THAT(titlesIn(inspection), ElementsAre("Emma"));
    EXPECT_TRUE(inspection.isUndisturbed());
  }

  EXPECT_EQ(file.names(), before);
  EXPECT_THAT(titlesIn(file), ElementsAre("Emma", "Persuasion"));
}

TEST(StoreInspection, LeavesTheLocksOfItsProcessAlone) {
  const StoreFile file;
  ReadSession session(file.open());
  shelf::insertBook(session, "Emma");
  ASSERT_TRUE(isLockedByUs(file.path()));

  static_cast<void>(titlesIn(file));

  EXPECT_TRUE(isLockedByUs(file.path()));
  EXPECT_TRUE(isLockedByUs(file.path() + "-shm"));
}

TEST(StoreInspection, AsksTheDiskForNothingThatLeavesATrace) {
  const StoreFile file;
  fillAndDie(file);
  support::FaultVFS vfs;
  // The index is mapped to be read.
  vfs.watch(support::kMutating & ~bit(support::FileOperation::mapShared));
  const coredata::StoreVFSOverride override(vfs.name());

  EXPECT_THAT(titlesIn(file), ElementsAre("Emma"));

  EXPECT_EQ(vfs.count(), 0U);
}

TEST(StoreInspection, NoticesThatAClosedStoreWasOpenedMeanwhile) {
  const StoreFile file;
  fill(file);
  fs::remove(file.path() + "-wal");
  const StoreInspection inspection(file.url());
  ASSERT_TRUE(inspection.isUndisturbed());

  const ReadSession session(file.open());

  EXPECT_FALSE(inspection.isUndisturbed());
}

TEST(StoreInspection, ReadsAStoreWithoutALog) {
  const StoreFile file;
  auto options = file.options();
  options.pragmas["journal_mode"] = "DELETE";
  {
    ReadSession session(file.open(options));
    shelf::insertBook(session, "Emma");
  }
  const auto before = filesOf(file);

  EXPECT_THAT(titlesIn(file), ElementsAre("Emma"));

  EXPECT_EQ(filesOf(file), before);
}

TEST(StoreInspection, RefusesAStoreWhoseLastSaveWouldHaveToBeUndone) {
  const StoreFile file;
  fill(file);
  const auto outcome = support::runInChild([&](const support::Acknowledgements&) {
    sqlite3* database = nullptr;
    const bool isLeft =
        sqlite3_open(file.path().c_str(), &database) == SQLITE_OK &&
        sqlite3_exec(database,
                     "PRAGMA journal_mode=DELETE; PRAGMA cache_size=1; BEGIN;"
                     "CREATE TABLE t(x); WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL "
                     "SELECT i + 1 FROM n WHERE i < 2000) INSERT INTO t SELECT randomblob(100) "
                     "FROM n",
                     nullptr, nullptr, nullptr) == SQLITE_OK;
    _exit(isLeft ? 0 : 1);
  });
  ASSERT_EQ(outcome.exitStatus, 0);
  const auto before = filesOf(file);
  ASSERT_TRUE(before.contains("shelf.sqlite-journal"));

  EXPECT_EQ(inspectionError(file), number(StoreErrorCode::notWritable));

  EXPECT_EQ(filesOf(file), before);
}

TEST(StoreInspection, TellsWhatIsNoStore) {
  const StoreFile file;
  EXPECT_EQ(inspectionError(file), number(StoreErrorCode::missing));

  shelf::writeFile(file.path(), "");
  EXPECT_EQ(inspectionError(file), number(StoreErrorCode::missing));

  shelf::writeFile(file.path(), std::string(10000, 'x'));
  EXPECT_EQ(inspectionError(file), number(StoreErrorCode::notAStore));

  fs::remove(file.path());
  fs::create_directory(file.path());
  EXPECT_EQ(inspectionError(file), number(StoreErrorCode::notAStore));
}

TEST(StoreInspection, TellsAStoreOfALaterLayout) {
  const StoreFile file;
  fill(file);
  shelf::query(file.path(), "PRAGMA user_version=99");

  EXPECT_EQ(inspectionError(file), number(StoreErrorCode::newerVersion));
}

TEST(StoreInspection, TellsAStoreThatMayNotBeRead) {
  const StoreFile file;
  fill(file);
  support::FaultVFS vfs;
  vfs.watch(bit(support::FileOperation::open));
  vfs.failAt(1, SQLITE_CANTOPEN, true);
  const coredata::StoreVFSOverride override(vfs.name());

  EXPECT_EQ(inspectionError(file), number(StoreErrorCode::notWritable));
}

TEST(StoreInspection, GivesValuesOfTheKindThatTheFileSays) {
  const StoreFile file;
  fill(file);
  shelf::query(file.path(), "UPDATE Book SET _version=x'00ff', title=7");
  const auto model = shelf::model();
  const auto& book = *model->entity("Book");
  StoreInspection inspection(file.url());

  std::vector<Kind> kinds;
  inspection.visitRows(book, [&](StoredRow row) {
    for (const StoredValue& value : row) kinds.push_back(value.kind);
    EXPECT_EQ(row[0].integer, 1);
    EXPECT_EQ(row[1].content, std::string_view("\0\xff", 2));
    // The column is of texts, so that SQLite makes one of the number.
    EXPECT_EQ(row[2 + book.attribute("title")->slot()].content, "7");
  });

  ASSERT_EQ(kinds.size(), 2 + book.slots().size());
  EXPECT_EQ(kinds[0], Kind::integer);
  EXPECT_EQ(kinds[1], Kind::bytes);
}

TEST(StoreInspection, GivesHistoryNamesAndMarks) {
  const StoreFile file;
  {
    ReadSession session(file.open());
    shelf::insertBook(session, "Emma");
    ASSERT_TRUE(shelf::removeBook(session, 1));
  }
  StoreInspection inspection(file.url());

  std::vector<std::int64_t> seen;
  inspection.visitTransactions([&](StoredRow row) { seen.push_back(row[0].integer); });
  EXPECT_THAT(seen, ElementsAre(1, 2));
  seen.clear();
  inspection.visitChanges([&](StoredRow row) { seen.push_back(row[4].integer); });
  EXPECT_THAT(seen, ElementsAre(0, 2));
  std::map<std::string, std::int64_t> marks;
  inspection.visitMarks([&](StoredRow row) { marks.emplace(row[0].content, row[1].integer); });
  EXPECT_THAT(marks, testing::Contains(testing::Pair("Book", 1)));
  std::vector<std::string> names;
  inspection.visitNames([&](StoredRow row) { names.emplace_back(row[1].content); });
  EXPECT_THAT(names, testing::Contains("Book"));
}

TEST(StoreInspection, TellsSizes) {
  const StoreFile file;
  fill(file);
  StoreInspection inspection(file.url());

  const auto sizes = inspection.sizes();
  const auto bytes = inspection.bytesByTable();

  EXPECT_EQ(sizes.fileBytes, static_cast<std::int64_t>(fs::file_size(file.path())));
  EXPECT_EQ(sizes.logBytes, static_cast<std::int64_t>(fs::file_size(file.path() + "-wal")));
  EXPECT_EQ(sizes.pages * sizes.pageBytes, sizes.fileBytes);
  EXPECT_EQ(sizes.freePages, 0);
  if (bytes) {
    std::int64_t sum = 0;
    for (const auto& [table, size] : *bytes) sum += size;
    EXPECT_EQ(sum, sizes.fileBytes);
  }
}

TEST(StoreInspection, TellsWhatSQLiteFindsWrong) {
  const StoreFile file;
  fill(file);
  {
    StoreInspection inspection(file.url());
    EXPECT_THAT(inspection.integrityProblems(10), testing::IsEmpty());
  }
  shelf::query(file.path(),
               "PRAGMA writable_schema=ON;"
               "DELETE FROM sqlite_schema WHERE type='index' AND sql IS NOT NULL");

  StoreInspection inspection(file.url());

  EXPECT_THAT(inspection.integrityProblems(10), testing::Not(testing::IsEmpty()));
}
