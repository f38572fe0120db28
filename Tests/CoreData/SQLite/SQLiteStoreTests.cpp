#include "CoreData/SQLite/SQLiteStore.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <future>
#include <thread>

#include "CoreData/Model/ModelBuilder.h"
#include "CoreData/SQLite/HistoryPruning.h"
#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/StoreMetadata.h"
#include "CoreData/SQLite/StorePragmas.h"
#include "CoreData/SQLite/StoreVFS.h"
#include "Tests/CoreData/SQLite/StoreFixture.h"
#include "Tests/Support/FaultVFS.h"

namespace {
using coredata::ReadSession;
using coredata::SQLiteStore;
using coredata::StoreErrorCode;
using coredata::StoreOptions;
using foundation::Ref;
using foundation::Value;
using foundation::ValueDictionary;
using shelf::code;
using shelf::readFile;
using shelf::StoreFile;
using shelf::writeFile;

/// Whether the log has no header, without which none of its pages counts.
bool hasEmptyLog(const StoreFile& file) {
  return readFile(file.path() + "-wal").substr(0, 32) == std::string(32, '\0');
}

unsigned modeOf(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 ? status.st_mode & 0777U : 0;
}

std::int64_t openError(const StoreFile& file) {
  return shelf::errorCode([&] { static_cast<void>(file.open()); });
}
}  // namespace

TEST(SQLiteStore, MakesAMissingFileForItsOwnerOnly) {
  const StoreFile file;

  const auto store = file.open();
  ReadSession session(store);
  shelf::insertBook(session, "Emma");

  EXPECT_EQ(modeOf(file.path()), 0600U);
  EXPECT_EQ(modeOf(file.path() + "-wal"), 0600U);
  EXPECT_EQ(modeOf(file.path() + "-shm"), 0600U);
}

TEST(SQLiteStore, TakesAnEmptyFileForAMissingOne) {
  const StoreFile file;
  writeFile(file.path(), "");

  EXPECT_EQ(openError(file), 0);
}

TEST(SQLiteStore, FindsItsRowsAgain) {
  const StoreFile file;
  coredata::ObjectKey key = 0;
  {
    ReadSession session(file.open());
    key = shelf::insertBook(session, "Emma");
  }

  ReadSession session(file.open());
  EXPECT_EQ(shelf::titleOf(session, key), "Emma");
}

TEST(SQLiteStore, KnowsTheTransactionThatWasTheNewestWhenItWasOpened) {
  const StoreFile file;
  StoreOptions options = file.options();
  options.announcesChanges = true;
  const Ref<SQLiteStore> first = file.open(options);
  ReadSession session(first);
  for (const char* title : {"Emma", "Persuasion"}) shelf::insertBook(session, title);

  const Ref<SQLiteStore> second = file.open(options);
  shelf::insertBook(session, "Sanditon");
  coredata::HistoryPruning(session).deleteBefore(std::int64_t{4});

  EXPECT_EQ(first->newestAtOpening(), 0);
  EXPECT_EQ(second->newestAtOpening(), 2);
  EXPECT_EQ(file.open(options)->newestAtOpening(), 3) << "of which only a mark is left";
}

/// In a process where nobody has used SQLite before.
TEST(SQLiteStoreDeathTest, HasSQLiteKeepNoAccountOfItsMemory) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto accounted = [] {
    const StoreFile file;
    const Ref<SQLiteStore> store = file.open();
    return sqlite3_memory_used();
  };

  EXPECT_EXIT(std::exit(accounted() == 0 ? 0 : 1), testing::ExitedWithCode(0), "");
}

TEST(SQLiteStore, LeavesTheMainFileCompleteAndNothingInTheLogWhenItIsClosed) {
  const StoreFile file;
  {
    ReadSession session(file.open());
    shelf::insertBook(session, "Emma");
  }
  const std::string copy = file.path() + ".copy";
  writeFile(copy, readFile(file.path()));

  EXPECT_EQ(shelf::query(copy, "SELECT title FROM Book"), std::vector<std::string>{"Emma"});
  EXPECT_GE(std::filesystem::file_size(file.path() + "-wal"), 1U << 20);
  EXPECT_TRUE(hasEmptyLog(file));
}

TEST(SQLiteStore, RefusesAFileThatIsNoDatabase) {
  const StoreFile file;
  const std::string content(5000, 'x');
  writeFile(file.path(), content);

  EXPECT_EQ(openError(file), code(StoreErrorCode::notAStore));
  EXPECT_EQ(readFile(file.path()), content);
}

TEST(SQLiteStore, RefusesAnotherProgramsDatabase) {
  const StoreFile file;
  writeFile(file.path(), "");
  shelf::query(file.path(), "CREATE TABLE t(x); INSERT INTO t VALUES(1)");
  const std::string before = readFile(file.path());

  EXPECT_EQ(openError(file), code(StoreErrorCode::notAStore));
  EXPECT_EQ(readFile(file.path()), before);
}

TEST(SQLiteStore, RefusesADirectory) {
  const StoreFile file;
  std::filesystem::create_directory(file.path());

  EXPECT_EQ(openError(file), code(StoreErrorCode::notAStore));
}

TEST(SQLiteStore, RefusesToMakeTheDirectory) {
  const StoreFile file;
  const StoreOptions options(foundation::URL::fileURL(file.path() + "/missing/shelf.sqlite"));

  EXPECT_EQ(shelf::errorCode([&] { static_cast<void>(file.open(options)); }),
            code(StoreErrorCode::missingDirectory));
}

TEST(SQLiteStore, RefusesALocationThatIsNoFile) {
  const StoreFile file;
  const StoreOptions options(*foundation::URL::parse("https://example.org/shelf.sqlite"));

  EXPECT_EQ(shelf::errorCode([&] { static_cast<void>(file.open(options)); }),
            code(StoreErrorCode::invalidOption));
}

TEST(SQLiteStore, RefusesATruncatedFile) {
  const StoreFile file;
  file.open()->close();
  const std::string content = readFile(file.path());
  writeFile(file.path(), content.substr(0, 4096 + 2048));

  EXPECT_EQ(openError(file), code(StoreErrorCode::damaged));
}

class ForeignSchema : public testing::TestWithParam<const char*> {};

TEST_P(ForeignSchema, IsRefused) {
  const StoreFile file;
  file.open()->close();
  shelf::query(file.path(), GetParam());

  EXPECT_EQ(openError(file), code(StoreErrorCode::foreignSchema));
}

INSTANTIATE_TEST_SUITE_P(
    SQLiteStore, ForeignSchema,
    testing::Values("CREATE TABLE t(x)", "CREATE VIEW v AS SELECT 1",
                    "CREATE TRIGGER t AFTER INSERT ON Book BEGIN DELETE FROM Shelf; END",
                    "ALTER TABLE Book ADD COLUMN x", "DROP TABLE Shelf", "DROP TABLE _change",
                    "DROP TABLE _mark; CREATE VIEW _mark AS SELECT 1 AS name, 2 AS value",
                    "CREATE VIRTUAL TABLE f USING fts5(x)"));

TEST(SQLiteStore, PutsIndexesRight) {
  const StoreFile file;
  file.open()->close();
  shelf::query(file.path(), "DROP INDEX Book_byShelfAndTitle; CREATE INDEX other ON Book(pages)");

  file.open()->close();

  EXPECT_EQ(shelf::query(file.path(),
                         "SELECT name FROM sqlite_master WHERE type='index' AND tbl_name='Book'"),
            std::vector<std::string>{"Book_byShelfAndTitle"});
}

TEST(SQLiteStore, BearsThePlannersStatistics) {
  const StoreFile file;
  file.open()->close();
  shelf::query(file.path(), "ANALYZE");

  EXPECT_EQ(openError(file), 0);
}

TEST(SQLiteStore, RefusesAStoreOfAnotherModel) {
  const StoreFile file;
  file.open()->close();
  const auto other = coredata::modelFromSource(
      R"({"identifiers": ["Shelf 2"], "entities": {"Shelf": {"attributes": {"name": "text"}}}})");

  EXPECT_EQ(shelf::errorCode([&] { static_cast<void>(SQLiteStore::open(file.options(), other)); }),
            code(StoreErrorCode::incompatibleModel));
}

TEST(SQLiteStore, SaysWhenANewerVersionWroteTheStore) {
  const StoreFile file;
  file.open()->close();
  const auto older = coredata::modelFromSource(
      R"({"identifiers": ["Shelf 0"], "entities": {"Shelf": {"attributes": {"name": "text"}}}})");

  EXPECT_EQ(shelf::errorCode([&] { static_cast<void>(SQLiteStore::open(file.options(), older)); }),
            code(StoreErrorCode::newerVersion));
}

TEST(SQLiteStore, RefusesALaterFormat) {
  const StoreFile file;
  file.open()->close();
  shelf::query(file.path(), "PRAGMA user_version=2");

  EXPECT_EQ(openError(file), code(StoreErrorCode::newerVersion));
}

TEST(SQLiteStore, TellsItsMetadata) {
  const StoreFile file;
  const auto store = file.open();

  const ValueDictionary metadata = store->metadata();

  EXPECT_EQ(*metadata.at("NSStoreType").text(), "SQLite");
  EXPECT_EQ(*metadata.at("NSStoreUUID").text(), store->identifier().uuidString());
  EXPECT_TRUE(store->model().isConfiguration(std::nullopt, metadata));
  EXPECT_EQ(*metadata.at("NSStoreModelVersionIdentifiers").list(),
            foundation::ValueList{"Shelf 1"});
  EXPECT_EQ(metadata.at("NSPersistenceFrameworkVersion").number()->int64Value(), 1);
}

TEST(SQLiteStore, KeepsTheProgramsMetadataAndItsOwn) {
  const StoreFile file;
  const auto store = file.open();
  const foundation::UUID identifier = store->identifier();

  store->setMetadata({{"greeting", "hello"}, {"NSStoreUUID", "forged"}, {"NSStoreType", nullptr}});
  store->close();

  const ValueDictionary metadata = SQLiteStore::metadataAt(file.url());
  EXPECT_EQ(*metadata.at("greeting").text(), "hello");
  EXPECT_EQ(*metadata.at("NSStoreUUID").text(), identifier.uuidString());
  EXPECT_EQ(*metadata.at("NSStoreType").text(), "SQLite");
  EXPECT_EQ(file.open()->identifier(), identifier);
}

TEST(SQLiteStore, RefusesMetadataThatItCannotKeepAndChangesNothing) {
  const StoreFile file;
  const auto store = file.open();
  const ValueDictionary before = store->metadata();

  EXPECT_EQ(shelf::errorCode([&] {
              store->setMetadata({{"_checksum", 1}});
            }),
            code(StoreErrorCode::invalidMetadata));
  EXPECT_EQ(shelf::errorCode([&] {
              store->setMetadata({{"good", 1}, {"x", Value(store)}});
            }),
            code(StoreErrorCode::invalidMetadata));
  EXPECT_EQ(store->metadata(), before);
}

TEST(SQLiteStore, NoticesDamagedMetadata) {
  const StoreFile file;
  file.open()->close();
  shelf::query(file.path(), "UPDATE _metadata SET value='\"SQLITE\"' WHERE key='NSStoreType'");

  EXPECT_EQ(openError(file), code(StoreErrorCode::damaged));
  EXPECT_EQ(shelf::errorCode([&] { static_cast<void>(SQLiteStore::metadataAt(file.url())); }),
            code(StoreErrorCode::damaged));
}

TEST(SQLiteStore, StartsWithTheIdentifierAndMetadataThatItIsGiven) {
  const StoreFile file;
  StoreOptions options = file.options();
  options.newIdentifier = foundation::UUID();
  options.newMetadata = {{"kept", 7}};

  const auto store = file.open(options);

  EXPECT_EQ(store->identifier(), *options.newIdentifier);
  EXPECT_EQ(store->metadata().at("kept").number()->int64Value(), 7);
}

TEST(SQLiteStore, ReadsMetadataOfAStoreInUseThroughItsLog) {
  const StoreFile file;
  const auto store = file.open();
  store->setMetadata({{"fresh", true}});

  const ValueDictionary metadata = SQLiteStore::metadataAt(file.url());

  EXPECT_TRUE(metadata.contains("fresh"));
}

TEST(SQLiteStore, ReadsMetadataWithoutMakingAFileOrTouchingOne) {
  const StoreFile file;
  EXPECT_EQ(shelf::errorCode([&] { static_cast<void>(SQLiteStore::metadataAt(file.url())); }),
            code(StoreErrorCode::missing));
  EXPECT_FALSE(std::filesystem::exists(file.path()));

  file.open()->close();
  const std::string content = readFile(file.path());
  const std::string log = readFile(file.path() + "-wal");
  static_cast<void>(SQLiteStore::metadataAt(file.url()));

  EXPECT_EQ(readFile(file.path()), content);
  EXPECT_EQ(readFile(file.path() + "-wal"), log);
}

TEST(SQLiteStore, RefusesEverythingOnceItWasClosed) {
  const StoreFile file;
  const auto store = file.open();
  ReadSession session(store);
  const auto key = shelf::insertBook(session, "Emma");
  store->close();
  store->close();

  EXPECT_TRUE(store->isClosed());
  EXPECT_EQ(shelf::errorCode([&] { static_cast<void>(shelf::titleOf(session, key)); }),
            code(StoreErrorCode::removed));
  EXPECT_EQ(shelf::errorCode([&] { shelf::insertBook(session, "Emma"); }),
            code(StoreErrorCode::removed));
  EXPECT_EQ(shelf::errorCode([&] { static_cast<void>(store->metadata()); }),
            code(StoreErrorCode::removed));
}

TEST(SQLiteStore, LetsAReaderFinishWhenItIsClosed) {
  const StoreFile file;
  const auto store = file.open();
  ReadSession session(store);
  const auto key = shelf::insertBook(session, "Emma");
  session.begin();
  EXPECT_EQ(shelf::titleOf(session, key), "Emma");

  store->close();

  EXPECT_EQ(shelf::titleOf(session, key), "Emma");
  session.end();
  EXPECT_TRUE(hasEmptyLog(file));
}

TEST(SQLiteStore, OpenedForReadingReadsAndRefusesToWrite) {
  const StoreFile file;
  coredata::ObjectKey key = 0;
  {
    ReadSession session(file.open());
    key = shelf::insertBook(session, "Emma");
  }
  StoreOptions options = file.options();
  options.readOnly = true;

  ReadSession session(file.open(options));

  EXPECT_EQ(shelf::titleOf(session, key), "Emma");
  EXPECT_EQ(shelf::errorCode([&] { shelf::insertBook(session, "Persuasion"); }),
            code(StoreErrorCode::notWritable));
}

TEST(SQLiteStore, OpenedForReadingMakesNoFile) {
  const StoreFile file;
  StoreOptions options = file.options();
  options.readOnly = true;

  EXPECT_EQ(shelf::errorCode([&] { static_cast<void>(file.open(options)); }),
            code(StoreErrorCode::missing));
  EXPECT_FALSE(std::filesystem::exists(file.path()));
}

TEST(SQLiteStore, TakesPragmasInAnyCaseAndMakesCommitsSure) {
  using Pragmas = std::map<std::string, std::string>;

  EXPECT_EQ(coredata::checkedPragmas({{"Cache_Size", "-2000"}, {"temp_store", "memory"}}),
            (Pragmas{{"cache_size", "-2000"}, {"temp_store", "MEMORY"}}));
  EXPECT_EQ(coredata::checkedPragmas({{"secure_delete", "fast"}, {"synchronous", "normal"}}),
            (Pragmas{{"secure_delete", "FAST"}, {"synchronous", "NORMAL"}}));
  for (const char* full : {"full", "2", "extra"}) {
    EXPECT_EQ(coredata::checkedPragmas({{"synchronous", full}}),
              (Pragmas{{"synchronous", "EXTRA"}}));
  }
}

TEST(SQLiteStore, RefusesPragmasThatAreNotOnTheList) {
  const StoreFile file;
  StoreOptions options = file.options();
  for (const auto& [name, value] :
       std::map<std::string, std::string>{{"writable_schema", "ON"},
                                          {"synchronous", "OFF"},
                                          {"journal_mode", "MEMORY"},
                                          {"cache_size", "1; DROP TABLE Book"},
                                          {"wal_autocheckpoint", "1"}}) {
    options.pragmas = {{name, value}};
    EXPECT_EQ(shelf::errorCode([&] { static_cast<void>(file.open(options)); }),
              code(StoreErrorCode::invalidOption))
        << name;
  }
}

TEST(SQLiteStore, FoldsTheLogAwayForARollbackJournal) {
  const StoreFile file;
  {
    ReadSession session(file.open());
    shelf::insertBook(session, "Emma");
  }
  StoreOptions options = file.options();
  options.pragmas = {{"journal_mode", "DELETE"}};

  ReadSession session(file.open(options));

  EXPECT_FALSE(std::filesystem::exists(file.path() + "-wal"));
  EXPECT_EQ(shelf::titleOf(session, shelf::insertBook(session, "Persuasion")), "Persuasion");
  EXPECT_FALSE(std::filesystem::exists(file.path() + "-wal"));
}

TEST(SQLiteStore, KeepsTheLogWhenAnotherStoreUsesIt) {
  const StoreFile file;
  ReadSession other(file.open());
  shelf::insertBook(other, "Emma");
  StoreOptions options = file.options();
  options.pragmas = {{"journal_mode", "DELETE"}};

  ReadSession session(file.open(options));

  EXPECT_EQ(shelf::titleOf(session, shelf::insertBook(session, "Persuasion")), "Persuasion");
  EXPECT_EQ(shelf::query(file.path(), "PRAGMA journal_mode"), std::vector<std::string>{"wal"});
}

TEST(SQLiteStore, WaitsForAWriterBeforeItBeginsTheLog) {
  const StoreFile file;
  StoreOptions options = file.options();
  options.pragmas = {{"journal_mode", "DELETE"}};
  const Ref<SQLiteStore> other = file.open(options);
  std::promise<void> isWriting;
  const std::jthread writing([&] {
    ReadSession writer(other);
    const coredata::WriteTransaction transaction(writer);
    isWriting.set_value();
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  });
  isWriting.get_future().wait();
  options = file.options();
  options.busyTimeout = std::chrono::seconds(10);

  const Ref<SQLiteStore> store = file.open(options);

  EXPECT_EQ(shelf::query(file.path(), "PRAGMA journal_mode"), std::vector<std::string>{"wal"});
}

TEST(SQLiteStore, GivesTheLogUpWhereAWriterTakesTooLong) {
  const StoreFile file;
  StoreOptions options = file.options();
  options.pragmas = {{"journal_mode", "DELETE"}};
  ReadSession writer(file.open(options));
  const coredata::WriteTransaction transaction(writer);

  EXPECT_EQ(shelf::errorCode([&] { static_cast<void>(file.open()); }), code(StoreErrorCode::busy));
}

TEST(SQLiteStore, WritesAScratchFileWithNothingBesideIt) {
  const StoreFile file;
  StoreOptions options = file.options();
  options.isScratch = true;
  support::FaultVFS vfs;
  const coredata::StoreVFSOverride override(vfs.name());
  {
    ReadSession session(file.open(options));
    vfs.reset();
    // A second connection, beside the one that is writing.
    ReadSession reading(session.store());
    reading.begin();
    EXPECT_EQ(shelf::titleOf(reading, 1), "-");
    ReadSession writing(session.store());
    reading.end();
    EXPECT_EQ(shelf::titleOf(session, shelf::insertBook(writing, "Emma")), "Emma");
  }

  for (const support::FaultVFS::Record& record : vfs.records()) {
    EXPECT_EQ(record.file, "");
    EXPECT_NE(record.operation, support::FileOperation::sync);
  }
  EXPECT_EQ(file.names(), std::vector<std::string>{"shelf.sqlite"});
  ReadSession again(file.open());
  EXPECT_EQ(shelf::titleOf(again, 1), "Emma");
}

TEST(SQLiteStore, LeavesTheIndexesForLaterWhenItIsTold) {
  const StoreFile file;
  StoreOptions options = file.options();
  options.buildsIndexes = false;
  const auto indexes = [&] {
    return shelf::query(file.path(),
                        "SELECT name FROM sqlite_master WHERE type='index' AND tbl_name='Book'");
  };
  file.open(options)->close();
  file.open(options)->close();
  ASSERT_EQ(indexes(), std::vector<std::string>{});

  SQLiteStore::buildIndexes(options, shelf::model());

  EXPECT_EQ(indexes(), std::vector<std::string>{"Book_byShelfAndTitle"});
}

TEST(SQLiteStore, NoticesThatItsContentWasReplaced) {
  const StoreFile file;
  const StoreFile otherFile;
  otherFile.open()->close();
  ReadSession session(file.open());
  const auto key = shelf::insertBook(session, "Emma");
  {
    sqlite3* from = nullptr;
    sqlite3* to = nullptr;
    ASSERT_EQ(sqlite3_open(otherFile.path().c_str(), &from), SQLITE_OK);
    ASSERT_EQ(sqlite3_open(file.path().c_str(), &to), SQLITE_OK);
    sqlite3_backup* backup = sqlite3_backup_init(to, "main", from, "main");
    ASSERT_EQ(sqlite3_backup_step(backup, -1), SQLITE_DONE);
    sqlite3_backup_finish(backup);
    sqlite3_close(from);
    sqlite3_close(to);
  }

  EXPECT_EQ(shelf::errorCode([&] { shelf::insertBook(session, "Persuasion"); }),
            code(StoreErrorCode::replaced));
  EXPECT_EQ(shelf::errorCode([&] { static_cast<void>(shelf::titleOf(session, key)); }),
            code(StoreErrorCode::replaced));
}

TEST(SQLiteStore, DoesNotFollowItsPathToAnotherFile) {
  const StoreFile file;
  const auto store = file.open();
  ReadSession reading(store);
  reading.begin();
  EXPECT_EQ(shelf::titleOf(reading, 1), "-");
  std::filesystem::rename(file.path(), file.path() + ".aside");
  writeFile(file.path(), "");

  ReadSession second(store);
  EXPECT_EQ(shelf::errorCode([&] { static_cast<void>(shelf::titleOf(second, 1)); }),
            code(StoreErrorCode::replaced));
  reading.end();
}
