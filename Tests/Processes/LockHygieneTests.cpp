#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>

#include "CoreData/SQLite/SQLiteStore.h"
#include "CoreData/SQLite/StoreBackup.h"
#include "CoreData/SQLite/WriteTransaction.h"
#include "CoreDataStack/CoreDataMigrator.h"
#include "CoreDataStack/LeftoverPhotos.h"
#include "CoreDataStack/MigrationSpace.h"
#include "CoreDataStack/NSPersistentStoreCoordinator+Migration.h"
#include "CoreDataStack/Stack/CloudBackups.h"
#include "Foundation/Files/FileManager.h"
#include "Foundation/Metadata/DirectoryMetadataProvider.h"
#include "Tests/Processes/Companion.h"
#include "Tests/Processes/Program.h"
#include "Tests/Processes/Rival.h"
#include "Tests/Support/ForwardingFileSystem.h"
#include "Tests/Support/MainQueueWait.h"
#include "Tools/storecheck/StoreCheck.h"

// Whoever closes a descriptor of a file gives away all locks that its process has on the file. So
// nothing but SQLite, which knows that, may ever open a store's files.

namespace {

namespace fs = std::filesystem;
using coredatastack::CoreDataMigrationVersion;
using foundation::FileManager;
using support::Companion;
using support::Line;
using support::Program;
using support::Rival;

/// Something that looks at the store's path.
struct Glance {
  const char* name;
  std::function<void()> look;
};

class LockHygiene : public testing::Test {
 protected:
  LockHygiene() {
    EXPECT_TRUE(Companion([&](Line&) {
                  support::edit(url_, CoreDataMigrationVersion::version7, [](auto& context) {
                    context.insertNewObject("Activity")->setValue("Run", "title");
                  });
                }).endedWell());
    rival_.emplace(url_);
    program_.emplace(place_, "app");
  }
  [[nodiscard]] const std::string& path() const { return path_; }

  std::vector<Glance> glances() {
    auto& stack = program_->stack();
    const auto& files = FileManager::defaultManager();
    return {
        {"metadata", [&] { EXPECT_TRUE(coredatastack::storeMetadata(url_)); }},
        {"version",
         [&] {
           static_cast<void>(
               CoreDataMigrationVersion::storeVersion(*coredatastack::storeMetadata(url_)));
         }},
        {"need of a migration", [&] { EXPECT_FALSE(stack.needMigration()); }},
        {"need of a migration, asked of the migrator",
         [&] {
           EXPECT_FALSE(coredatastack::CoreDataMigrator().requiresMigration(
               url_, CoreDataMigrationVersion::version7));
         }},
        {"a migration that has nothing to do",
         [&] {
           coredatastack::CoreDataMigrator().migrateStore(url_, CoreDataMigrationVersion::version7);
         }},
        {"checkpoint", [&] { coredatastack::CoreDataMigrator().checkpointStore(url_); }},
        {"existence", [&] { EXPECT_TRUE(files.fileExists(path_)); }},
        {"kind", [&] { EXPECT_FALSE(files.isDirectory(path_)); }},
        {"size", [&] { EXPECT_GT(files.size(path_) + files.size(path_ + "-wal"), 0U); }},
        {"space", [&] { EXPECT_GT(coredatastack::spaceOfStore(url_), 0U); }},
        {"neighbours", [&] { EXPECT_FALSE(files.contentsOfDirectory(place_.at("")).empty()); }},
        {"description",
         [&] {
           EXPECT_FALSE(stack.persistentContainer()->persistentStoreDescriptions().empty());
           EXPECT_NE(url_.description(), "");
         }},
        {"leftover photos", [&] { coredatastack::discardLeftoverPhotos(url_); }},
        {"list of backups",
         [&] {
           foundation::DirectoryMetadataProvider provider(place_.at(""));
           EXPECT_FALSE(provider.items().empty());
         }},
        {"copy", [&] { coredata::backUpStore(url_, place_.at("copy.sqlite")); }},
        {"inspection", [&] { EXPECT_TRUE(storecheck::check(url_).isSound()); }},
        {"another container", [&] { EXPECT_FALSE(support::titlesOfActivities(url_).empty()); }},
        {"replacement by itself",
         [&] {
           stack.persistentStoreCoordinator()->replacePersistentStore(url_, {}, url_, {},
                                                                      coredata::NSSQLiteStoreType);
         }},
        {"a restore of what is no backup",
         [&] {
           stack.restoreFromDropbox(foundation::Data::fromText("Dear diary"),
                                    [](const auto& failure) { EXPECT_TRUE(failure); });
         }},
    };
  }

  support::MigrationPlace place_;
  const foundation::URL url_ = place_.storeURL();
  const std::string path_ = url_.filePath().value();
  std::optional<Rival> rival_;
  std::optional<Program> program_;
};

TEST_F(LockHygiene, KeepsTheWriteLockWhoeverLooksAtTheStore) {
  coredata::ReadSession session(program_->stack().persistentStoreCoordinator()->store()->engine());
  {
    const coredata::WriteTransaction writing(session);
    ASSERT_TRUE(rival_->isKeptOut());

    for (const Glance& glance : glances()) {
      ASSERT_NO_THROW(glance.look()) << glance.name;
      EXPECT_TRUE(rival_->isKeptOut()) << glance.name;
    }
  }
  EXPECT_FALSE(rival_->isKeptOut());
}

TEST_F(LockHygiene, WouldBeMissedIfAnybodyOpenedAFile) {
  coredata::ReadSession session(program_->stack().persistentStoreCoordinator()->store()->engine());
  const coredata::WriteTransaction writing(session);
  ASSERT_TRUE(rival_->isKeptOut());

  ::close(::open((path() + "-shm").c_str(), O_RDONLY | O_CLOEXEC));

  EXPECT_FALSE(rival_->isKeptOut());
}

/// Collects the paths of all files and directories that are opened past SQLite.
class OpenedFiles final : public support::ForwardingFileSystem {
 public:
  foundation::FileResult<int> open(int directory, const char* path, int flags,
                                   mode_t mode) override {
    note(directory == AT_FDCWD ? fs::path(path) : pathOf(directory) / path);
    return system().open(directory, path, flags, mode);
  }
  [[nodiscard]] std::vector<fs::path> all() const {
    const std::scoped_lock lock(mutex_);
    return paths_;
  }

 private:
  static fs::path pathOf(int descriptor) {
    return fs::read_symlink("/proc/self/fd/" + std::to_string(descriptor));
  }
  void note(fs::path path) {
    const std::scoped_lock lock(mutex_);
    paths_.push_back(std::move(path));
  }

  mutable std::mutex mutex_;
  std::vector<fs::path> paths_;
};

TEST_F(LockHygiene, OpensTheFilesOfStoresThroughSQLiteAlone) {
  const OpenedFiles opened;

  for (const Glance& glance : glances()) ASSERT_NO_THROW(glance.look()) << glance.name;
  program_->view().insertNewObject("Activity")->setValue("Swim", "title");
  program_->view().save();
  static_cast<void>(
      support::runMainQueueUntil([] { return false; }, std::chrono::milliseconds(50)));

  const auto all = opened.all();
  EXPECT_FALSE(all.empty());
  for (const char* suffix : {"", "-wal", "-shm", "-journal"}) {
    EXPECT_EQ(std::ranges::count(all, fs::path(path() + suffix)), 0) << suffix;
  }
}

}  // namespace
