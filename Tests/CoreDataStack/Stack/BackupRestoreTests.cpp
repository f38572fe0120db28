#include "CoreDataStack/Stack/BackupRestore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "CoreData/Container/NSPersistentContainer.h"
#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/StoreBackup.h"
#include "CoreData/SQLite/StoreVFS.h"
#include "CoreDataStack/CoreDataMigrator.h"
#include "CoreDataStack/CoreDataMigratorError.h"
#include "CoreDataStack/NSManagedObjectModel+Migration.h"
#include "CoreDataStack/NSPersistentStoreCoordinator+Migration.h"
#include "Foundation/Files/FileManager.h"
#include "Foundation/Files/TemporaryDirectory.h"
#include "Tests/Support/ErrorCode.h"
#include "Tests/Support/FaultVFS.h"
#include "Tests/Support/ForwardingFileSystem.h"
#include "Tests/Support/MigrationPlace.h"
#include "Tests/Support/RecordingLogger.h"

namespace {

using coredata::NSManagedObjectContext;
using coredatastack::BackupRestore;
using coredatastack::CoreDataMigrator;
using coredatastack::CoreDataMigratorError;
using foundation::Data;
using foundation::Error;
using foundation::URL;
using Version = coredatastack::CoreDataMigrationVersion;

Data bytesOf(const URL& file) {
  std::ifstream stream(*file.filePath(), std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
  return Data::fromText(bytes);
}

void addActivity(NSManagedObjectContext& context, const std::string& title) {
  context.insertNewObject("Activity")->setValue(title, "title");
}

/// Runs a statement on a closed store, past the engine.
void run(const URL& store, const char* sql) {
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open(store.filePath()->c_str(), &database), SQLITE_OK);
  char* message = nullptr;
  EXPECT_EQ(sqlite3_exec(database, sql, nullptr, nullptr, &message), SQLITE_OK) << message;
  sqlite3_free(message);
  sqlite3_close(database);
}

/// Another program adds an activity, if nobody keeps it from that; false when somebody does.
bool addsElsewhere(const URL& store, const std::string& title) {
  sqlite3* database = nullptr;
  EXPECT_EQ(sqlite3_open_v2(store.filePath()->c_str(), &database, SQLITE_OPEN_READWRITE, "unix"),
            SQLITE_OK);
  const std::string sql = "INSERT INTO Activity(_id, _version, title) SELECT max(_id) + 1, 1, '" +
                          title + "' FROM Activity";
  const int result = sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr);
  sqlite3_close(database);
  return result == SQLITE_OK;
}

/// A migrator that fails.
class FailingMigrator final : public coredatastack::CoreDataMigratorProtocol {
 public:
  void migrateStore(const URL& /*at*/, const Version& /*to*/) override {
    throw CoreDataMigratorError::unableToMigrate(Error("test", 1, "no"));
  }
  [[nodiscard]] bool requiresMigration(const URL& /*at*/, const Version& /*to*/) const override {
    return true;
  }
};

class Restore : public testing::Test {
 protected:
  /// A closed store of the version with one activity, as a backup has it.
  [[nodiscard]] Data backup(const Version& version, const std::string& title) const {
    const URL store = place_.at("Backup.sqlite");
    support::edit(store, version,
                  [&](NSManagedObjectContext& context) { addActivity(context, title); });
    const URL copy = place_.at("Copy.sqlite");
    coredata::backUpStore(store, copy);
    Data bytes = bytesOf(copy);
    coredatastack::destroyStore(store);
    std::filesystem::remove(*copy.filePath());
    return bytes;
  }
  void addLiveStore(const std::string& title) const {
    support::edit(place_.storeURL(), Version::version7,
                  [&](NSManagedObjectContext& context) { addActivity(context, title); });
  }
  [[nodiscard]] std::vector<std::string> titles() const {
    return support::titlesOfActivities(place_.storeURL());
  }
  void restore(const Data& bytes) {
    BackupRestore(migrator_, coredatastack::model(Version::version7.rawValue()), logger_)
        .run(bytes, place_.storeURL());
  }
  [[nodiscard]] std::string refusalOf(const Data& bytes) {
    try {
      restore(bytes);
    } catch (const Error& error) {
      return error.description();
    }
    return "nothing was thrown";
  }
  [[nodiscard]] std::string unknownVersion() const {
    return "CoreDataMigratorError.unknownStoreVersion(unknown store version at URL " +
           place_.storeURL().description() + ")";
  }

  support::MigrationPlace place_;
  CoreDataMigrator migrator_;
  foundation::Ref<support::RecordingLogger> logger_ = foundation::make<support::RecordingLogger>();
};

TEST_F(Restore, PutsABackupInTheStoresPlace) {
  addLiveStore("now");

  restore(backup(Version::version7, "then"));

  EXPECT_EQ(titles(), std::vector<std::string>{"then"});
}

TEST_F(Restore, MakesAStoreWhereThereIsNone) {
  restore(backup(Version::version7, "then"));

  EXPECT_EQ(titles(), std::vector<std::string>{"then"});
}

TEST_F(Restore, BringsAnOldBackupForward) {
  addLiveStore("now");

  restore(backup(Version::version1, "long ago"));

  EXPECT_EQ(titles(), std::vector<std::string>{"long ago"});
}

TEST_F(Restore, LeavesTheTemporaryFileAndNothingElse) {
  addLiveStore("now");

  restore(backup(Version::version3, "then"));

  EXPECT_EQ(place_.temporaryFiles(), std::vector<std::string>{"Model.sqlite"});
}

TEST_F(Restore, WritesASecondBackupOverTheFirst) {
  restore(backup(Version::version7, "first"));
  restore(backup(Version::version7, "second"));

  EXPECT_EQ(titles(), std::vector<std::string>{"second"});
  EXPECT_EQ(place_.temporaryFiles(), std::vector<std::string>{"Model.sqlite"});
}

TEST_F(Restore, RemovesTheCopyThatAKilledOneLeft) {
  addLiveStore("now");
  const std::string left = foundation::NSTemporaryDirectory() + "Replaced.sqlite";
  std::ofstream(left) << "half of a store";
  std::ofstream(left + "-journal") << "and its journal";

  restore(backup(Version::version7, "then"));

  EXPECT_EQ(place_.temporaryFiles(), std::vector<std::string>{"Model.sqlite"});
}

TEST_F(Restore, DoesNotReplayALogThatAnEarlierRestoreLeft) {
  addLiveStore("now");
  const std::string temporary = foundation::NSTemporaryDirectory() + "Model.sqlite";
  {
    const auto context = support::contextOver(URL::fileURL(temporary), Version::version7);
    context->performBlockAndWait([&] {
      addActivity(*context, "stale");
      context->save();
    });
    std::filesystem::copy_file(temporary + "-wal", temporary + "-kept");
  }
  std::filesystem::rename(temporary + "-kept", temporary + "-wal");

  restore(backup(Version::version7, "then"));

  EXPECT_EQ(titles(), std::vector<std::string>{"then"});
}

TEST_F(Restore, RefusesWhatIsNoSoundStoreOfOursAndTouchesNothing) {
  addLiveStore("now");
  const Data good = backup(Version::version7, "then");
  const std::string_view truncated = good.text().substr(0, good.size() / 2);
  const URL foreign = place_.at("Foreign.sqlite");
  run(foreign, "CREATE TABLE a(b); INSERT INTO a VALUES(1);");

  EXPECT_EQ(refusalOf(Data()), unknownVersion());
  EXPECT_EQ(refusalOf(Data::fromText("x")), unknownVersion());
  EXPECT_EQ(refusalOf(Data::fromText("Dear diary, today I ran.\n")), unknownVersion());
  EXPECT_EQ(refusalOf(Data::fromText(truncated)), unknownVersion());
  EXPECT_EQ(refusalOf(bytesOf(foreign)), unknownVersion());

  EXPECT_EQ(titles(), std::vector<std::string>{"now"});
  EXPECT_TRUE(logger_->descriptions().empty());
}

TEST_F(Restore, RefusesAStoreOfAnUnknownVersion) {
  addLiveStore("now");
  const URL unknown = place_.at("Unknown.sqlite");
  {
    const auto model = coredata::NSManagedObjectModel::empty();
    const auto container = foundation::make<coredata::NSPersistentContainer>("Unknown", model);
    container->setPersistentStoreDescriptions({coredata::NSPersistentStoreDescription(unknown)});
    container->loadPersistentStores(
        [](const auto&, const auto& error) { ASSERT_FALSE(error) << error->description(); });
  }

  EXPECT_EQ(refusalOf(bytesOf(unknown)), unknownVersion());

  EXPECT_EQ(titles(), std::vector<std::string>{"now"});
}

TEST_F(Restore, RefusesABackupWithSomethingOfItsOwnMaking) {
  addLiveStore("now");
  const URL hostile = place_.at("Hostile.sqlite");
  for (const char* addition :
       {"CREATE TRIGGER t AFTER INSERT ON Checkin BEGIN DELETE FROM Activity; END",
        "CREATE VIEW v AS SELECT * FROM Activity", "CREATE TABLE more(x)"}) {
    std::ofstream(*hostile.filePath(), std::ios::binary | std::ios::trunc);
    const Data good = backup(Version::version7, "then");
    foundation::FileManager::defaultManager().write(good, hostile);
    run(hostile, addition);

    EXPECT_EQ(refusalOf(bytesOf(hostile)), unknownVersion()) << addition;
  }
  EXPECT_EQ(titles(), std::vector<std::string>{"now"});
}

TEST_F(Restore, RefusesABackupWithADamagedPage) {
  addLiveStore("now");
  const Data good = backup(Version::version7, "then");
  std::vector<std::uint8_t> bytes(good.bytes().begin(), good.bytes().end());
  // The first page of the data, behind the schema's.
  std::fill(bytes.begin() + 3 * 4096, bytes.begin() + 4 * 4096, std::uint8_t{0xa5});

  EXPECT_EQ(refusalOf(Data(std::move(bytes))), unknownVersion());

  EXPECT_EQ(titles(), std::vector<std::string>{"now"});
}

TEST_F(Restore, PutsTheStoreBackWhenThePhotosOfAnOldBackupAreGone) {
  addLiveStore("now");
  const URL old = place_.at("Old.sqlite");
  support::edit(old, Version::version6, [](NSManagedObjectContext& context) {
    context.insertNewObject("Photo")->setValue("gone.jpg", "filename");
  });
  const Data bytes = bytesOf(old);

  try {
    restore(bytes);
    FAIL() << "restored without its photos";
  } catch (const Error& error) {
    EXPECT_EQ(error.domain(), foundation::kPosixErrorDomain);
    EXPECT_EQ(error.code(), ENOENT);
  }

  EXPECT_EQ(titles(), std::vector<std::string>{"now"});
  EXPECT_TRUE(logger_->descriptions().empty());
}

TEST_F(Restore, PutsBackWhatOthersSavedUntilTheStoreWasReplaced) {
  constexpr std::size_t kEvery = 5;
  addLiveStore("now");
  const Data bytes = backup(Version::version7, "then");
  FailingMigrator failing;
  std::vector<std::string> expected{"now"};
  int refused = 0;

  for (std::size_t point = 1;; point += kEvery) {
    const std::string title = "meanwhile " + std::to_string(point);
    support::FaultVFS vfs;
    const coredata::StoreVFSOverride override(vfs.name());
    bool wasReached = false;
    vfs.callAt(point, [&] {
      wasReached = true;
      if (addsElsewhere(place_.storeURL(), title)) {
        expected.push_back(title);
      } else {
        ++refused;
      }
    });
    EXPECT_THROW(BackupRestore(failing, coredatastack::model(Version::version7.rawValue()), logger_)
                     .run(bytes, place_.storeURL()),
                 CoreDataMigratorError);
    if (!wasReached) break;
    ASSERT_THAT(titles(), testing::UnorderedElementsAreArray(expected)) << point;
  }

  EXPECT_GT(expected.size(), 10U);
  EXPECT_GT(refused, 0);
}

/// Cannot say what there is at a path when it is asked for the n-th time.
class UnseenFile final : public support::ForwardingFileSystem {
 public:
  UnseenFile(std::string path, std::size_t point) : path_(std::move(path)), point_(point) {}

  [[nodiscard]] bool wasReached() const noexcept { return count_ >= point_; }
  foundation::FileResult<struct stat> status(int directory, const char* path, int flags) override {
    if (path == path_ && ++count_ == point_) return std::unexpected(EIO);
    return ForwardingFileSystem::status(directory, path, flags);
  }

 private:
  const std::string path_;
  const std::size_t point_;
  std::size_t count_ = 0;
};

TEST_F(Restore, TakesNoStoreForMissingThatCannotBeExamined) {
  addLiveStore("now");
  const Data bytes = backup(Version::version7, "then");
  FailingMigrator failing;
  bool isReached = true;
  for (std::size_t point = 1; isReached; ++point) {
    {
      const UnseenFile store(*place_.storeURL().filePath(), point);
      EXPECT_ANY_THROW(
          BackupRestore(failing, coredatastack::model(Version::version7.rawValue()), logger_)
              .run(bytes, place_.storeURL()));
      isReached = store.wasReached();
    }
    // Where it could not be put back, the copy stays.
    const bool isKept = !logger_->descriptions().empty();
    const URL place =
        isKept ? foundation::TemporaryDirectory::ofProcess().url().appendingPathComponent(
                     "Replaced.sqlite")
               : place_.storeURL();
    ASSERT_EQ(support::titlesOfActivities(place), std::vector<std::string>{"now"}) << point;
    if (isKept) return;
  }
}

TEST_F(Restore, KeepsNoCopyOfTheStoreThatItPutBack) {
  addLiveStore("now");
  FailingMigrator failing;

  EXPECT_THROW(BackupRestore(failing, coredatastack::model(Version::version7.rawValue()), logger_)
                   .run(backup(Version::version7, "then"), place_.storeURL()),
               CoreDataMigratorError);

  EXPECT_EQ(titles(), std::vector<std::string>{"now"});
  EXPECT_EQ(place_.temporaryFiles(), std::vector<std::string>{"Model.sqlite"});
}

TEST_F(Restore, RemovesTheBackupAgainWhereThereWasNoStore) {
  FailingMigrator failing;

  EXPECT_THROW(BackupRestore(failing, coredatastack::model(Version::version7.rawValue()), logger_)
                   .run(backup(Version::version7, "then"), place_.storeURL()),
               CoreDataMigratorError);

  EXPECT_FALSE(std::filesystem::exists(*place_.storeURL().filePath()));
}

TEST_F(Restore, ReplacesAStoreThatIsNoDatabaseAndKeepsItAside) {
  std::ofstream(*place_.storeURL().filePath(), std::ios::binary) << std::string(5000, 'x');

  restore(backup(Version::version7, "then"));

  EXPECT_EQ(titles(), std::vector<std::string>{"then"});
  EXPECT_TRUE(std::filesystem::exists(*place_.storeURL().filePath() + "-salvage-1"));
}

TEST_F(Restore, TellsThoseWhoHaveTheStoreOpen) {
  addLiveStore("now");
  const auto context = support::contextOver(place_.storeURL(), Version::version7);
  context->performBlockAndWait(
      [&] { EXPECT_EQ(support::allObjects(*context, "Activity").size(), 1U); });

  restore(backup(Version::version7, "then"));

  context->performBlockAndWait([&] {
    EXPECT_EQ(
        support::errorCode([&] { static_cast<void>(support::allObjects(*context, "Activity")); }),
        support::number(coredata::StoreErrorCode::replaced));
  });
}

TEST_F(Restore, GoesOnCountingWhereTheNewerHistoryStopped) {
  const Data bytes = backup(Version::version7, "then");
  addLiveStore("now");
  support::edit(place_.storeURL(), Version::version7,
                [](NSManagedObjectContext& context) { addActivity(context, "later"); });
  const auto newest = [&] {
    const auto context = support::contextOver(place_.storeURL(), Version::version7);
    return context->persistentStoreCoordinator()->store()->engine()->newestTransaction();
  };
  const auto before = newest();

  restore(bytes);
  support::edit(place_.storeURL(), Version::version7,
                [](NSManagedObjectContext& context) { addActivity(context, "after"); });

  EXPECT_GT(newest().number, before.number);
  EXPECT_GT(newest().timestamp, before.timestamp);
}

TEST_F(Restore, RefusesAStoreInTheTemporaryDirectory) {
  const URL inside = URL::fileURL(foundation::NSTemporaryDirectory() + "Model.sqlite");
  support::edit(inside, Version::version7,
                [](NSManagedObjectContext& context) { addActivity(context, "now"); });
  const Data before = bytesOf(inside);

  EXPECT_EQ(support::errorCode([&] {
              BackupRestore(migrator_, coredatastack::model(Version::version7.rawValue()), logger_)
                  .run(backup(Version::version7, "then"), inside);
            }),
            support::number(foundation::TemporaryDirectoryErrorCode::holdsStore));

  EXPECT_EQ(bytesOf(inside), before);
}

}  // namespace
