#include "CoreDataStack/CoreDataMigrator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <utility>

#include "CoreData/Migration/MigrationError.h"
#include "CoreData/Model/ModelBuilder.h"
#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreDataStack/CoreDataMigratorError.h"
#include "CoreDataStack/MigrationSpace.h"
#include "CoreDataStack/NSPersistentStoreCoordinator+Migration.h"
#include "Foundation/Files/Bundle.h"
#include "Foundation/Progress/Progress.h"
#include "Tests/Support/ErrorCode.h"
#include "Tests/Support/FaultyFileSystem.h"
#include "Tests/Support/MigrationPlace.h"

namespace {

using coredata::NSManagedObjectContext;
using coredatastack::CoreDataMigrationStep;
using coredatastack::CoreDataMigrationVersion;
using coredatastack::CoreDataMigrator;
using coredatastack::CoreDataMigratorError;
using foundation::URL;
using foundation::Value;
using Version = CoreDataMigrationVersion;

std::vector<std::string> names(const std::vector<CoreDataMigrationStep>& steps) {
  std::vector<std::string> result;
  for (const CoreDataMigrationStep& step : steps) {
    result.push_back(*step.sourceModel->versionIdentifiers().begin() + " - " +
                     *step.destinationModel->versionIdentifiers().begin());
  }
  return result;
}

class Migrator : public testing::Test {
 protected:
  void addStore(const Version& version) const {
    support::edit(place_.storeURL(), version, [](NSManagedObjectContext& context) {
      context.insertNewObject("Activity")->setValue("Run", "title");
    });
  }
  [[nodiscard]] std::optional<Version> version() const {
    const auto metadata = coredatastack::storeMetadata(place_.storeURL());
    return metadata ? Version::storeVersion(*metadata) : std::nullopt;
  }
  [[nodiscard]] std::string bytes() const {
    std::ifstream file(*place_.storeURL().filePath(), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  [[nodiscard]] std::vector<std::string> titles() const {
    return support::titlesOfActivities(place_.storeURL());
  }

  support::MigrationPlace place_;
  CoreDataMigrator migrator_;
};

TEST_F(Migrator, PlansOneStepFromEachVersionToTheNext) {
  EXPECT_EQ(names(migrator_.migrationSteps(Version::version1, Version::version3)),
            (std::vector<std::string>{"Tessaline 1 - Tessaline 2", "Tessaline 2 - Tessaline 3"}));
  EXPECT_EQ(migrator_.migrationSteps(Version::version1, Version::version7).size(), 6U);
}

TEST_F(Migrator, PlansNothingBetweenEqualVersionsAndGoesToTheLastForAnOlderTarget) {
  EXPECT_TRUE(migrator_.migrationSteps(Version::version4, Version::version4).empty());
  EXPECT_EQ(names(migrator_.migrationSteps(Version::version6, Version::version2)),
            (std::vector<std::string>{"Tessaline 6 - Tessaline 7"}));
  EXPECT_TRUE(migrator_.migrationSteps(Version::version7, Version::version1).empty());
}

TEST_F(Migrator, PlansFromTheVersionOfTheStore) {
  addStore(Version::version5);

  EXPECT_EQ(names(migrator_.migrationSteps(place_.storeURL(), Version::version7)),
            (std::vector<std::string>{"Tessaline 5 - Tessaline 6", "Tessaline 6 - Tessaline 7"}));
}

TEST_F(Migrator, BringsAStoreOfAnyVersionToTheNewest) {
  for (const Version& old : Version::allCases()) {
    std::filesystem::remove(*place_.storeURL().filePath());
    addStore(old);

    migrator_.migrateStore(place_.storeURL(), Version::version7);

    EXPECT_EQ(version(), Version::version7) << old.rawValue();
    EXPECT_EQ(titles(), std::vector<std::string>{"Run"}) << old.rawValue();
    EXPECT_TRUE(place_.temporaryFiles().empty()) << old.rawValue();
  }
}

TEST_F(Migrator, StopsAtTheVersionThatIsAskedFor) {
  addStore(Version::version1);

  migrator_.migrateStore(place_.storeURL(), Version::version4);

  EXPECT_EQ(version(), Version::version4);
}

TEST_F(Migrator, ReplacesAStoreOfTheVersionByItself) {
  addStore(Version::version7);
  const std::string before = bytes();

  migrator_.migrateStore(place_.storeURL(), Version::version7);

  EXPECT_EQ(bytes(), before);
  EXPECT_TRUE(place_.temporaryFiles().empty());
}

TEST_F(Migrator, KnowsWhetherAStoreIsOfAnotherVersion) {
  EXPECT_FALSE(migrator_.requiresMigration(place_.storeURL(), Version::version7));
  addStore(Version::version3);
  EXPECT_TRUE(migrator_.requiresMigration(place_.storeURL(), Version::version7));
  EXPECT_FALSE(migrator_.requiresMigration(place_.storeURL(), Version::version3));
}

class UnknownStore : public Migrator {
 protected:
  void expectRefusal() {
    const std::string before = bytes();
    try {
      migrator_.migrateStore(place_.storeURL(), Version::version7);
      ADD_FAILURE() << "nothing was thrown";
    } catch (const CoreDataMigratorError& error) {
      EXPECT_EQ(error.which(), CoreDataMigratorError::Case::unknownStoreVersion);
      EXPECT_EQ(error.payload(),
                "unknown store version at URL " + place_.storeURL().absoluteString());
    }
    EXPECT_EQ(bytes(), before);
    EXPECT_THROW((void)migrator_.migrationSteps(place_.storeURL(), Version::version7),
                 CoreDataMigratorError);
  }
  void write(std::string_view text) const {
    std::ofstream(*place_.storeURL().filePath(), std::ios::binary) << text;
  }
};

TEST_F(UnknownStore, IsOneThatIsMissing) { expectRefusal(); }
TEST_F(UnknownStore, IsAnEmptyFile) {
  write("");
  expectRefusal();
}
TEST_F(UnknownStore, IsATextFile) {
  write(std::string(5000, 'x'));
  expectRefusal();
}
TEST_F(UnknownStore, IsACutOffOne) {
  addStore(Version::version2);
  write(bytes().substr(0, 5000));
  expectRefusal();
}
TEST_F(UnknownStore, IsOneOfAModelThatNobodyKnows) {
  const auto models = place_.directory() / "other.json";
  const auto model =
      coredata::modelFromSource(R"({"entities": {"Day": {"attributes": {"a": "text"}}}})");
  const auto coordinator = foundation::make<coredata::NSPersistentStoreCoordinator>(model);
  coordinator->removePersistentStore(
      coordinator->addPersistentStore(coredata::NSPersistentStoreDescription(place_.storeURL())));
  expectRefusal();
}

TEST_F(Migrator, GoesOnWithoutACheckpointWhereTheMainBundleHasNoModel) {
  addStore(Version::version6);
  const auto other = support::contextOver(place_.storeURL(), Version::version6);
  other->performBlockAndWait([&] {
    other->insertNewObject("Activity")->setValue("Read", "title");
    other->save();
  });

  migrator_.checkpointStore(place_.storeURL());
  migrator_.migrateStore(place_.storeURL(), Version::version7);

  EXPECT_EQ(titles(), (std::vector<std::string>{"Run", "Read"}));
}

/// A main bundle that has the compiled models.
class ModelsInMainBundle : public Migrator {
 protected:
  ModelsInMainBundle() {
    foundation::Bundle::setMain(*foundation::Bundle::withIdentifier("com.tessaline.coredata"));
  }
};

TEST_F(ModelsInMainBundle, LetTheCheckpointFoldTheLogIntoTheFile) {
  addStore(Version::version3);
  ASSERT_TRUE(std::filesystem::exists(*place_.storeURL().filePath() + "-wal"));

  migrator_.checkpointStore(place_.storeURL());

  EXPECT_FALSE(std::filesystem::exists(*place_.storeURL().filePath() + "-wal"));
  EXPECT_EQ(version(), Version::version3);
}

TEST_F(ModelsInMainBundle, DoNotMakeItFailWhileSomebodyHasTheStoreOpen) {
  addStore(Version::version3);
  const auto other = support::contextOver(place_.storeURL(), Version::version3);

  migrator_.migrateStore(place_.storeURL(), Version::version5);

  EXPECT_EQ(version(), Version::version5);
}

TEST_F(Migrator, TellsHowFarItHasCome) {
  addStore(Version::version1);
  const auto progress = foundation::make<foundation::Progress>(1);
  std::vector<double> fractions;
  const auto token = progress->observe([&](const foundation::Progress& observed) {
    fractions.push_back(observed.fractionCompleted());
  });

  progress->performAsCurrent(1,
                             [&] { migrator_.migrateStore(place_.storeURL(), Version::version7); });

  EXPECT_TRUE(std::ranges::is_sorted(fractions));
  EXPECT_GE(std::set<double>(fractions.begin(), fractions.end()).size(), 7U);
  EXPECT_EQ(progress->fractionCompleted(), 1.0);
}

TEST_F(Migrator, TellsWhichStepIsUnderWay) {
  addStore(Version::version5);
  const auto progress = foundation::make<foundation::Progress>(1);
  std::vector<std::string> steps;
  const auto token = progress->observe([&](const foundation::Progress& observed) {
    for (const auto& migration : observed.unfinishedChildren()) {
      const auto userInfo = migration->userInfo();
      const auto step = userInfo.find(coredatastack::kMigrationStepKey);
      const std::string name = step == userInfo.end() ? "" : *step->second.text();
      if (steps.empty() || steps.back() != name) steps.push_back(name);
    }
  });

  progress->performAsCurrent(1,
                             [&] { migrator_.migrateStore(place_.storeURL(), Version::version7); });

  EXPECT_EQ(steps, (std::vector<std::string>{"", "Tessaline 6", "Tessaline 7", ""}));
}

TEST_F(Migrator, LeavesTheStoreAsItWasWhenItIsStopped) {
  addStore(Version::version1);
  const std::string before = bytes();
  const auto progress = foundation::make<foundation::Progress>(1);
  const auto token = progress->observe([&](const foundation::Progress& observed) {
    if (observed.fractionCompleted() > 0.4 && !observed.isCancelled()) progress->cancel();
  });

  const auto code = support::errorCode([&] {
    progress->performAsCurrent(
        1, [&] { migrator_.migrateStore(place_.storeURL(), Version::version7); });
  });

  EXPECT_EQ(code, support::number(coredata::MigrationErrorCode::cancelled));
  EXPECT_EQ(bytes(), before);
  EXPECT_EQ(version(), Version::version1);
}

TEST_F(Migrator, SaysBeforeAStepThatTheDiskHasNoRoomForIt) {
  addStore(Version::version1);
  const std::string before = bytes();
  support::FaultyFileSystem files;
  files.setAvailableBytes(2 * before.size() - 1);

  const auto code =
      support::errorCode([&] { migrator_.migrateStore(place_.storeURL(), Version::version7); });

  EXPECT_EQ(code, support::number(coredata::MigrationErrorCode::noSpace));
  EXPECT_EQ(bytes(), before);
  EXPECT_TRUE(place_.temporaryFiles().empty());
}

TEST_F(Migrator, CountsThePhotosThatAStepFoldsIntoTheStore) {
  addStore(Version::version6);
  const CoreDataMigrationStep earlier(Version::version5, Version::version6);
  const CoreDataMigrationStep last(Version::version6, Version::version7);
  const auto store = coredatastack::spaceOfStore(place_.storeURL());
  place_.addPhotoFile("a.jpg", std::string(1000, 'a'));
  place_.addPhotoFile("2024/b.jpg", std::string(500, 'b'));

  EXPECT_EQ(coredatastack::spaceForStep(place_.storeURL(), earlier), 2 * store);
  EXPECT_EQ(coredatastack::spaceForStep(place_.storeURL(), last), 2 * store + 1500);
  const support::WithoutContainer alone;
  EXPECT_EQ(coredatastack::spaceForStep(place_.storeURL(), last), 2 * store);
}

TEST_F(Migrator, CountsNothingForAStoreThatIsNoFileHere) {
  EXPECT_EQ(coredatastack::spaceOfStore(*URL::parse("https://example.org/Model.sqlite")), 0U);
  EXPECT_EQ(coredatastack::spaceOfStore(place_.at("missing.sqlite")), 0U);
}

TEST_F(Migrator, MakesNoStoreOfOneThatIsMissing) {
  migrator_.checkpointStore(place_.storeURL());

  EXPECT_FALSE(std::filesystem::exists(*place_.storeURL().filePath()));
}

TEST_F(Migrator, NeedsNoContainerForAStoreWithoutPhotos) {
  addStore(Version::version6);
  const support::WithoutContainer alone;

  migrator_.migrateStore(place_.storeURL(), Version::version7);

  EXPECT_EQ(version(), Version::version7);
}

TEST_F(Migrator, DiscardsThePhotosFilesOnceTheStoreHasThem) {
  support::edit(place_.storeURL(), Version::version6, [](NSManagedObjectContext& context) {
    context.insertNewObject("Photo")->setValue("a.jpg", "filename");
  });
  place_.addPhotoFile("a.jpg", "A");

  migrator_.migrateStore(place_.storeURL(), Version::version7);

  EXPECT_TRUE(std::filesystem::is_empty(place_.container()));
}

TEST_F(Migrator, DiscardsWhatAMigrationKilledAtItsEndHadSetAside) {
  std::string identifier;
  support::edit(place_.storeURL(), Version::version7, [&](NSManagedObjectContext& context) {
    context.insertNewObject("Activity")->setValue("Run", "title");
    identifier = context.persistentStoreCoordinator()->store()->identifier();
  });
  place_.addPhotoFile("../photos-of-" + identifier + "/photo/a.jpg", "A");

  migrator_.migrateStore(place_.storeURL(), Version::version7);

  EXPECT_FALSE(std::filesystem::exists(place_.container() / ("photos-of-" + identifier)));
}

TEST_F(Migrator, PutsBackWhatAStoreStillNeedsThatGoesToAnOlderVersion) {
  std::string identifier;
  support::edit(place_.storeURL(), Version::version5, [&](NSManagedObjectContext& context) {
    context.insertNewObject("Photo")->setValue("a.jpg", "filename");
    identifier = context.persistentStoreCoordinator()->store()->identifier();
  });
  place_.addPhotoFile("../photos-of-" + identifier + "/photo/a.jpg", "A");

  migrator_.migrateStore(place_.storeURL(), Version::version6);

  EXPECT_TRUE(std::filesystem::exists(place_.container() / "photo" / "a.jpg"));
}

TEST_F(Migrator, GivesTheStoreItsPhotosBackWhenSomebodyWroteToItMeanwhile) {
  support::edit(place_.storeURL(), Version::version6, [](NSManagedObjectContext& context) {
    context.insertNewObject("Photo")->setValue("a.jpg", "filename");
  });
  place_.addPhotoFile("a.jpg", "A");
  const auto other = support::contextOver(place_.storeURL(), Version::version6);
  bool hasWritten = false;
  const auto progress = foundation::make<foundation::Progress>(1);
  const auto token = progress->observe([&](const foundation::Progress&) {
    const bool isAside = !std::filesystem::exists(place_.container() / "photo");
    if (!isAside || std::exchange(hasWritten, true)) return;
    other->performBlockAndWait([&] {
      other->insertNewObject("Activity")->setValue("Read", "title");
      other->save();
    });
  });

  const auto code = support::errorCode([&] {
    progress->performAsCurrent(
        1, [&] { migrator_.migrateStore(place_.storeURL(), Version::version7); });
  });

  EXPECT_EQ(code, support::number(coredata::StoreErrorCode::changedMeanwhile));
  EXPECT_TRUE(hasWritten);
  EXPECT_EQ(version(), Version::version6);
  EXPECT_TRUE(std::filesystem::exists(place_.container() / "photo" / "a.jpg"));
}

TEST_F(Migrator, PutsPhotosBackThatAKilledMigrationHadSetAside) {
  std::string identifier;
  support::edit(place_.storeURL(), Version::version6, [&](NSManagedObjectContext& context) {
    context.insertNewObject("Photo")->setValue("a.jpg", "filename");
    identifier = context.persistentStoreCoordinator()->store()->identifier();
  });
  place_.addPhotoFile("../photos-of-" + identifier + "/photo/a.jpg", "A");

  migrator_.migrateStore(place_.storeURL(), Version::version7);

  const auto context = support::contextOver(place_.storeURL(), Version::version7);
  context->performBlockAndWait([&] {
    EXPECT_EQ(support::allObjects(*context, "Photo").at(0)->valueForKey("data").data()->size(), 1U);
  });
  EXPECT_TRUE(std::filesystem::is_empty(place_.container()));
}

}  // namespace
