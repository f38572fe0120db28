#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>

#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/StoreClaim.h"
#include "CoreDataStack/NSPersistentStoreCoordinator+Migration.h"
#include "Tests/Support/ErrorCode.h"
#include "Tests/Support/GardenStore.h"

namespace {

using coredata::NSPersistentStoreCoordinator;
using coredatastack::addSQLiteStore;
using coredatastack::destroyStore;
using coredatastack::replaceStore;
using coredatastack::storeMetadata;
using foundation::make;
using foundation::URL;
using support::number;

class StoreFileOperations : public testing::Test {
 protected:
  [[nodiscard]] std::filesystem::path path(const char* name = "garden.sqlite") const {
    return directory.path() / name;
  }
  [[nodiscard]] URL url(const char* name = "garden.sqlite") const {
    return URL::fileURL(path(name).string());
  }
  /// Makes a store; its identifier.
  [[nodiscard]] std::string makeStore(const char* name = "garden.sqlite") const {
    const auto coordinator = make<NSPersistentStoreCoordinator>(garden::model());
    return addSQLiteStore(*coordinator, url(name), {})->identifier();
  }
  [[nodiscard]] std::string identifier(const char* name = "garden.sqlite") const {
    return *storeMetadata(url(name))->at("NSStoreUUID").text();
  }
  /// The error of a directory in a store's place, as it is rendered.
  [[nodiscard]] static std::string notAFile(const std::filesystem::path& file) {
    return "Error Domain=NSCocoaErrorDomain Code=134110 \"" + file.string() + " is not a file.\"";
  }
  /// What the process says when it stops.
  [[nodiscard]] static std::string stop(int line, const std::string& message) {
    return "CoreDataStack/NSPersistentStoreCoordinator+Migration:" + std::to_string(line) +
           ": Fatal error: " + message + "\n";
  }

  support::TemporaryDirectory directory;
};

TEST_F(StoreFileOperations, ReadMetadata) {
  const std::string made = makeStore();

  EXPECT_EQ(identifier(), made);
  EXPECT_FALSE(storeMetadata(url("missing.sqlite")));
}

TEST_F(StoreFileOperations, AddAStoreWithItsOptions) {
  const auto coordinator = make<NSPersistentStoreCoordinator>(garden::model());

  const auto store = addSQLiteStore(*coordinator, url(),
                                    {{std::string(coredata::NSSQLitePragmasOption),
                                      foundation::ValueDictionary{{"journal_mode", "DELETE"}}}});

  EXPECT_EQ(coordinator->store(), store);
  EXPECT_FALSE(std::filesystem::exists(path("garden.sqlite-wal")));
}

TEST_F(StoreFileOperations, DestroyAStoreAndNothingWhereThereIsNone) {
  static_cast<void>(makeStore());

  destroyStore(url());
  destroyStore(url());

  EXPECT_TRUE(std::filesystem::is_empty(directory.path()));
}

TEST_F(StoreFileOperations, ReplaceAStore) {
  static_cast<void>(makeStore());
  const std::string other = makeStore("other.sqlite");

  replaceStore(url(), url("other.sqlite"));
  replaceStore(url(), url());

  EXPECT_EQ(identifier(), other);
  EXPECT_EQ(identifier("other.sqlite"), other);
}

TEST_F(StoreFileOperations, SayThatAStoreWentOnInsteadOfStopping) {
  const std::string before = makeStore();
  static_cast<void>(makeStore("other.sqlite"));
  coredata::StoreClaim claim(url(), std::chrono::seconds(5));
  claim.markRead();
  const auto coordinator = make<NSPersistentStoreCoordinator>(garden::model());
  addSQLiteStore(*coordinator, url(), {})->engine()->setMetadata({{"kept", true}});

  EXPECT_EQ(support::errorCode([&] { replaceStore(url(), url("other.sqlite")); }),
            number(coredata::StoreErrorCode::changedMeanwhile));
  EXPECT_EQ(identifier(), before);
}

using StoreFileOperationsDeathTest = StoreFileOperations;

TEST_F(StoreFileOperationsDeathTest, StopWhenAStoreCannotBeAdded) {
  std::filesystem::create_directory(path());
  const auto coordinator = make<NSPersistentStoreCoordinator>(garden::model());

  EXPECT_EXIT(addSQLiteStore(*coordinator, url(), {}), testing::KilledBySignal(SIGABRT),
              testing::Eq(stop(39, "failed to add persistent store to coordinator, error: " +
                                       notAFile(path()))));
}

TEST_F(StoreFileOperationsDeathTest, StopWhenAStoreCannotBeDestroyed) {
  std::filesystem::create_directory(path());

  EXPECT_EXIT(destroyStore(url()), testing::KilledBySignal(SIGABRT),
              testing::Eq(stop(12, "failed to destroy persistent store at " +
                                       url().absoluteString() + ", error: " + notAFile(path()))));
  EXPECT_TRUE(std::filesystem::exists(path()));
}

TEST_F(StoreFileOperationsDeathTest, StopWhenAStoreCannotBeReplaced) {
  const std::string before = makeStore();
  std::filesystem::create_directory(path("other.sqlite"));

  EXPECT_EXIT(
      replaceStore(url(), url("other.sqlite")), testing::KilledBySignal(SIGABRT),
      testing::Eq(stop(23, "failed to replace persistent store at " + url().absoluteString() +
                               " with " + url("other.sqlite").absoluteString() +
                               ", error: " + notAFile(path("other.sqlite")))));
  EXPECT_EQ(identifier(), before);
}

}  // namespace
