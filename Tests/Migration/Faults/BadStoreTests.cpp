#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "CoreData/Model/ModelBuilder.h"
#include "CoreData/SQLite/SQLiteStoreError.h"
#include "Foundation/Values/Error.h"
#include "Tests/Migration/Faults/OldStore.h"
#include "Tests/Support/CrashRunner.h"
#include "Tests/Support/Effort.h"
#include "Tests/Support/ErrorCode.h"

// Files that are no store, or one that cannot be brought forward.

namespace {

using migrating::LoneStore;
using Version = migrating::CoreDataMigrationVersion;

class BadStore : public testing::Test {
 protected:
  [[nodiscard]] std::filesystem::path path() const { return lone_.store.path(); }
  void write(std::string_view bytes) const {
    std::ofstream(path(), std::ios::binary | std::ios::trunc) << bytes;
  }
  void run(const char* sql) const {
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(path().c_str(), &database), SQLITE_OK);
    char* message = nullptr;
    EXPECT_EQ(sqlite3_exec(database, sql, nullptr, nullptr, &message), SQLITE_OK) << message;
    sqlite3_close(database);
  }
  /// What a migration of the file throws; the file is not touched.
  [[nodiscard]] std::string error(std::string_view what) const {
    const std::string before = support::bytesOf(path());
    const auto outcome = support::runInChild([&](const auto& done) {
      try {
        lone_.store.start();
        done.send("returned");
      } catch (const foundation::Error& error) {
        done.send(error.description());
      }
    });
    EXPECT_EQ(outcome.acknowledged.size(), 1U) << what << ": the process stopped";
    EXPECT_TRUE(support::bytesOf(path()) == before) << what;
    return outcome.acknowledged.empty() ? "" : outcome.acknowledged.front();
  }
  void expectUnknown(std::string_view what) const {
    EXPECT_EQ(error(what),
              "CoreDataMigratorError.unknownStoreVersion(unknown store version at URL " +
                  lone_.store.url().description() + ")")
        << what;
  }

  LoneStore lone_{{.version = Version::version6}};
  const std::string good_ = support::bytesOf(path());
};

TEST_F(BadStore, IsGarbage) {
  for (const std::size_t size : {1U, 16U, 100U, 4096U, 50'000U}) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * 131 + size);
    write(bytes);
    expectUnknown(std::to_string(size) + " bytes");
  }
}

TEST_F(BadStore, IsEmptyOrMissing) {
  write("");
  expectUnknown("empty");
  std::filesystem::remove(path());
  expectUnknown("missing");
}

TEST_F(BadStore, IsADirectory) {
  std::filesystem::remove(path());
  std::filesystem::create_directory(path());

  expectUnknown("a directory");

  EXPECT_TRUE(std::filesystem::is_directory(path()));
}

TEST_F(BadStore, IsCutOff) {
  const std::size_t sectors = good_.size() / 512;
  for (const std::size_t sector : support::points(sectors - 1, 24, 5000)) {
    lone_.scene.lay();
    write(good_.substr(0, sector * 512));
    const std::string what = "cut off after " + std::to_string(sector) + " sectors";
    EXPECT_NE(error(what), "returned") << what;
  }
}

TEST_F(BadStore, IsADatabaseOfAnotherProgram) {
  write("");
  run("CREATE TABLE note(text TEXT); INSERT INTO note VALUES('milk');");
  expectUnknown("another program's");
}

TEST_F(BadStore, IsOfALaterVersion) {
  std::filesystem::remove(path());
  ASSERT_TRUE(support::succeeds([&] {
    const auto model =
        coredata::modelFromSource(R"({"entities": {"Day": {"attributes": {"a": "text"}}}})");
    const auto coordinator = foundation::make<coredata::NSPersistentStoreCoordinator>(model);
    coordinator->removePersistentStore(
        coordinator->addPersistentStore(coredata::NSPersistentStoreDescription(lone_.store.url())));
  }));
  expectUnknown("a later version");
}

TEST_F(BadStore, IsOfALaterFormat) {
  run("PRAGMA user_version=99");
  expectUnknown("a later format");
}

TEST_F(BadStore, HoldsATriggerThatNoStoreHas) {
  run("CREATE TRIGGER forget AFTER INSERT ON Activity BEGIN DELETE FROM Activity; END");
  const auto foreign = std::to_string(support::number(coredata::StoreErrorCode::foreignSchema));
  EXPECT_THAT(error("a trigger"), testing::HasSubstr("Code=" + foreign));
}

TEST_F(BadStore, HasLostItsMetadata) {
  const std::vector<std::string> tables = support::StoreLook(path()).column(
      "SELECT name FROM sqlite_master WHERE type='table' AND name LIKE '\\_meta%' ESCAPE '\\'");
  ASSERT_EQ(tables.size(), 1U);
  for (const std::string change : {"DELETE FROM ", "DROP TABLE "}) {
    lone_.scene.lay();
    run((change + tables.front() + "; PRAGMA wal_checkpoint(TRUNCATE);").c_str());
    expectUnknown(change);
  }
}

/// What its checksum guards: a byte of the metadata that is another one.
TEST_F(BadStore, HasDamagedMetadata) {
  const std::string name = "NSStoreModelVersionHashes";
  const std::size_t begin = good_.find(name);
  ASSERT_NE(begin, good_.npos);
  for (const std::size_t offset : support::points(400, 12, 400)) {
    lone_.scene.lay();
    std::string bytes = good_;
    bytes[begin + offset] = static_cast<char>(bytes[begin + offset] ^ 0x20);
    write(bytes);
    expectUnknown("byte " + std::to_string(offset));
  }
}

}  // namespace
