// Stores that a container brings to its model by itself, as the description of the stage `temp`
// asks for.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "CoreData/Container/NSPersistentContainer.h"
#include "CoreData/Model/ModelBuilder.h"
#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreDataStack/NSManagedObjectModel+Migration.h"
#include "CoreDataStack/NSPersistentStoreCoordinator+Migration.h"
#include "Tests/Support/MigrationPlace.h"

namespace {

using coredata::NSManagedObjectContext;
using coredatastack::CoreDataMigrationVersion;
using foundation::Error;
using foundation::Value;

class AutomaticMigration : public testing::Test {
 protected:
  void addStore(const CoreDataMigrationVersion& version) const {
    support::edit(place_.storeURL(), version, [](NSManagedObjectContext& context) {
      context.insertNewObject("Activity")->setValue("Run", "title");
    });
  }
  /// Loads the store with the newest model; the error's code, 0 where there is none.
  std::int64_t load(bool migrates, bool infers) const {
    const auto container = foundation::make<coredata::NSPersistentContainer>(
        "Model", coredatastack::model("Tessaline 7"));
    coredata::NSPersistentStoreDescription description(place_.storeURL());
    description.setConfiguration("Local");
    description.setShouldMigrateStoreAutomatically(migrates);
    description.setShouldInferMappingModelAutomatically(infers);
    container->setPersistentStoreDescriptions({description});
    std::int64_t code = 0;
    container->loadPersistentStores([&](const auto&, const std::optional<Error>& error) {
      if (error) code = error->code();
    });
    return code;
  }
  [[nodiscard]] std::optional<CoreDataMigrationVersion> version() const {
    const auto metadata = coredatastack::storeMetadata(place_.storeURL());
    return metadata ? CoreDataMigrationVersion::storeVersion(*metadata) : std::nullopt;
  }
  [[nodiscard]] std::string bytes() const {
    std::ifstream file(*place_.storeURL().filePath(), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  static constexpr auto kIncompatible =
      static_cast<std::int64_t>(coredata::StoreErrorCode::incompatibleModel);

  support::MigrationPlace place_;
};

TEST_F(AutomaticMigration, BringsAnOldStoreToTheModelInOneStep) {
  for (const CoreDataMigrationVersion& old : CoreDataMigrationVersion::allCases()) {
    std::filesystem::remove(*place_.storeURL().filePath());
    addStore(old);

    EXPECT_EQ(load(true, true), 0) << old.rawValue();

    EXPECT_EQ(version(), CoreDataMigrationVersion::version7) << old.rawValue();
    EXPECT_TRUE(place_.temporaryFiles().empty()) << old.rawValue();
    const auto context =
        support::contextOver(place_.storeURL(), CoreDataMigrationVersion::version7);
    context->performBlockAndWait([&] {
      const auto activities = support::allObjects(*context, "Activity");
      ASSERT_EQ(activities.size(), 1U);
      EXPECT_EQ(activities.front()->valueForKey("title"), Value("Run"));
    });
  }
}

TEST_F(AutomaticMigration, HappensOnlyWhereBothSwitchesAreOn) {
  addStore(CoreDataMigrationVersion::version6);
  const std::string before = bytes();

  EXPECT_EQ(load(false, false), kIncompatible);
  EXPECT_EQ(load(true, false), kIncompatible);
  EXPECT_EQ(load(false, true), kIncompatible);

  EXPECT_EQ(version(), CoreDataMigrationVersion::version6);
  EXPECT_EQ(bytes(), before);
}

TEST_F(AutomaticMigration, MakesAMissingStoreAndLeavesANewOneAlone) {
  EXPECT_EQ(load(true, true), 0);
  EXPECT_EQ(version(), CoreDataMigrationVersion::version7);
  const std::string before = bytes();

  EXPECT_EQ(load(true, true), 0);

  EXPECT_EQ(bytes(), before);
}

TEST_F(AutomaticMigration, LeavesAStoreAloneWhoseModelNobodyHas) {
  const auto model =
      coredata::modelFromSource(R"({"entities": {"Day": {"attributes": {"a": "text"}}}})");
  const auto coordinator = foundation::make<coredata::NSPersistentStoreCoordinator>(model);
  coordinator->removePersistentStore(
      coordinator->addPersistentStore(coredata::NSPersistentStoreDescription(place_.storeURL())));
  const std::string before = bytes();

  EXPECT_EQ(load(true, true), kIncompatible);

  EXPECT_EQ(bytes(), before);
}

TEST_F(AutomaticMigration, SaysWhatAFileIsThatIsNoStore) {
  std::ofstream(*place_.storeURL().filePath()) << std::string(5000, 'x');

  EXPECT_EQ(load(true, true), static_cast<std::int64_t>(coredata::StoreErrorCode::notAStore));
}

}  // namespace
