// The migrator from the oldest version to the newest, over stores that have everything.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>

#include "CoreData/Migration/NSEntityMigrationPolicy.h"
#include "CoreData/Migration/NSMigrationManager.h"
#include "CoreDataStack/CoreDataMigrator.h"
#include "CoreDataStack/NSManagedObjectModel+Migration.h"
#include "CoreDataStack/NSPersistentStoreCoordinator+Migration.h"
#include "Foundation/Files/Bundle.h"
#include "Foundation/Files/FileManager.h"
#include "Foundation/Internal/ManualClock.h"
#include "Foundation/Progress/Progress.h"
#include "Foundation/Values/Error.h"
#include "Tests/Migration/Expectation.h"
#include "Tests/Support/MigrationPlace.h"
#include "Tools/storegen/SeededStore.h"

namespace {

namespace fs = std::filesystem;

using coredatastack::CoreDataMigrationStep;
using coredatastack::CoreDataMigrationVersion;
using coredatastack::CoreDataMigrator;
using foundation::Error;
using foundation::Progress;
using images::StoreImage;
using Version = CoreDataMigrationVersion;

std::string bytesOf(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

class WholeMigration : public testing::Test {
 protected:
  /// A store with every entity, attribute and relationship of its version.
  void addStore(const Version& version) const {
    storegen::makeSeededStore(
        storePath_, coredatastack::model(version.rawValue()),
        {.seed = 7, .photoBytes = 100, .container = place_.container().string()});
  }
  [[nodiscard]] StoreImage image(const Version& version) const {
    const auto context = support::contextOver(place_.storeURL(), version);
    return context->performBlockAndWait([&] { return images::imageOf(*context); });
  }
  /// What the store of the one version is to become in the other.
  [[nodiscard]] StoreImage expectedAfter(const Version& from, const Version& to) const {
    StoreImage expected = image(from);
    for (const CoreDataMigrationStep& step : migrator_.migrationSteps(from, to)) {
      const StoreImage old = std::move(expected);
      expected = images::expectedIn(*step.destinationModel, old);
      if (step.destinationModel->entity("ActivityWidgetGroup") != nullptr) {
        images::expectVersion7(expected, old, {}, foundation::Date::now());
      }
    }
    return expected;
  }
  [[nodiscard]] std::string identifier() const {
    const auto metadata = coredatastack::storeMetadata(place_.storeURL());
    return metadata ? *metadata->at(std::string(coredata::NSStoreUUIDKey)).text() : "";
  }
  /// The stores in the temporary directory, without what lies beside each.
  [[nodiscard]] std::set<std::string> temporaryStores() const {
    constexpr std::size_t kIdentifierLength = 36;
    std::set<std::string> names;
    for (const std::string& name : place_.temporaryFiles()) {
      if (name.size() == kIdentifierLength) names.insert(name);
    }
    return names;
  }

  support::MigrationPlace place_;
  const std::string storePath_ = *place_.storeURL().filePath();
  const foundation::ManualClock clock_{731080800.5};
  CoreDataMigrator migrator_;
};

TEST_F(WholeMigration, KeepsEverythingThroughSixSteps) {
  addStore(Version::version1);
  StoreImage expected = expectedAfter(Version::version1, Version::version7);
  const std::string identifierBefore = identifier();

  migrator_.migrateStore(place_.storeURL(), Version::version7);

  StoreImage migrated = image(Version::version7);
  migrated.at("ActivityWidgetGroup").at(1).attributes.erase("uuid");
  expected.at("ActivityWidgetGroup").at(1).attributes.erase("uuid");
  EXPECT_EQ(images::differences(expected, migrated), "");
  EXPECT_EQ(identifier(), identifierBefore);
}

TEST_F(WholeMigration, GoesThroughSixStoresOfWhichTwoAreThereAtATime) {
  addStore(Version::version1);
  std::set<std::string> seen;
  std::size_t most = 0;
  const auto progress = foundation::make<Progress>(1);
  const auto token = progress->observe([&](const Progress& /*observed*/) {
    const auto stores = temporaryStores();
    most = std::max(most, stores.size());
    seen.insert(stores.begin(), stores.end());
  });

  progress->performAsCurrent(1,
                             [&] { migrator_.migrateStore(place_.storeURL(), Version::version7); });

  EXPECT_EQ(seen.size(), 6U);
  EXPECT_EQ(most, 2U);
  EXPECT_EQ(place_.temporaryFiles(), std::vector<std::string>());
}

TEST_F(WholeMigration, LeavesAStoreOfTheNewestVersionByteForByte) {
  addStore(Version::version7);
  const std::string before = bytesOf(storePath_);

  migrator_.migrateStore(place_.storeURL(), Version::version7);

  EXPECT_EQ(bytesOf(storePath_), before);
  EXPECT_EQ(place_.temporaryFiles(), std::vector<std::string>());
}

TEST_F(WholeMigration, LeavesTheContentOfANewestStoreWithALog) {
  addStore(Version::version7);
  const auto other = support::contextOver(place_.storeURL(), Version::version7);
  other->performBlockAndWait([&] {
    other->insertNewObject("Group")->setValue("in the log", "title");
    other->save();
  });
  const StoreImage before = image(Version::version7);

  migrator_.migrateStore(place_.storeURL(), Version::version7);

  EXPECT_EQ(images::differences(before, image(Version::version7)), "");
}

/// Fails as soon as its mapping begins, and keeps what it saw of the temporary directory.
class FailingPolicy final : public coredata::NSEntityMigrationPolicy {
 public:
  static constexpr std::string_view kClassName = "FailingPolicy";
  static Error error() { return {"TestDomain", 42, "this step fails"}; }

  void beginEntityMapping(const coredata::NSEntityMapping& /*mapping*/,
                          coredata::NSMigrationManager& /*manager*/) override {
    throw error();
  }
};

/// The main bundle has a mapping from version 3 to version 4 whose policy fails.
class FailingSecondStep : public WholeMigration {
 protected:
  FailingSecondStep() {
    coredata::NSEntityMigrationPolicy::registerClass(
        FailingPolicy::kClassName, [] { return foundation::make<FailingPolicy>(); });
    foundation::Bundle::setMain(*foundation::Bundle::withIdentifier("com.tessaline.failing"));
  }
};

TEST_F(FailingSecondStep, LeavesTheStoreAndTheFirstStepsStore) {
  addStore(Version::version2);
  const std::string before = bytesOf(storePath_);
  const StoreImage imageBefore = image(Version::version2);
  const CoreDataMigrationStep first(Version::version2, Version::version3);

  std::optional<Error> thrown;
  try {
    migrator_.migrateStore(place_.storeURL(), Version::version5);
  } catch (const Error& error) {
    thrown = error;
  }

  ASSERT_TRUE(thrown);
  EXPECT_EQ(thrown->domain(), FailingPolicy::error().domain());
  EXPECT_EQ(thrown->code(), FailingPolicy::error().code());
  EXPECT_EQ(thrown->message(), FailingPolicy::error().message());
  EXPECT_EQ(bytesOf(storePath_), before);
  EXPECT_EQ(images::differences(imageBefore, image(Version::version2)), "");
  std::set<std::string> versions;
  for (const std::string& name : temporaryStores()) {
    const auto metadata = coredatastack::storeMetadata(
        foundation::URL::fileURL(foundation::NSTemporaryDirectory() + name));
    if (metadata) versions.emplace(Version::storeVersion(*metadata)->rawValue());
  }
  EXPECT_TRUE(versions.contains("Tessaline 3"));
}

TEST_F(FailingSecondStep, IsDoneAgainOnceItCanBeDone) {
  addStore(Version::version2);
  const StoreImage expected = expectedAfter(Version::version2, Version::version5);
  EXPECT_THROW(migrator_.migrateStore(place_.storeURL(), Version::version5), Error);
  foundation::Bundle::setMain(*foundation::Bundle::withIdentifier("com.tessaline.habits"));

  migrator_.migrateStore(place_.storeURL(), Version::version5);

  EXPECT_EQ(images::differences(expected, image(Version::version5)), "");
}

}  // namespace
