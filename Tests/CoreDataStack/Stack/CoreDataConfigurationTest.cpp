#include "CoreDataStack/Stack/CoreDataConfiguration.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "CoreData/Container/NSPersistentCloudKitContainer.h"
#include "CoreDataStack/Stack/CoreDataConfiguration+Container.h"
#include "Tests/Support/TemporaryStore.h"

namespace {

using coredata::NSPersistentCloudKitContainer;
using coredata::NSPersistentStoreDescription;
using coredatastack::CoreDataConfiguration;
using foundation::Data;
using foundation::FileManager;
using foundation::URL;
using foundation::Value;
using foundation::ValueDictionary;
using Stage = CoreDataConfiguration::Stage;

constexpr Stage kAllStages[] = {Stage::temp, Stage::inMemory, Stage::production, Stage::extensions};

class Configurations : public testing::Test {
 protected:
  [[nodiscard]] CoreDataConfiguration configuration(Stage stage, bool useCloudSync = true) const {
    return {stage,
            "Model",
            "com.example.coredata",
            "iCloud.com.example",
            "group.example",
            "app-main",
            path_,
            useCloudSync};
  }
  [[nodiscard]] NSPersistentStoreDescription description(Stage stage,
                                                         bool useCloudSync = true) const {
    return storeDescription(configuration(stage, useCloudSync), files_);
  }
  void signIn() { files_.setUbiquityIdentityToken(Data::fromText("rosa")); }

  support::TemporaryDirectory directory_;
  URL path_ = URL::fileURL((directory_.path() / "Model.sqlite").native());
  FileManager files_;
};

const ValueDictionary kSharedStoreOptions{
    {"NSPersistentHistoryTrackingKey", true},
    {"NSPersistentStoreRemoteChangeNotificationOptionKey", true}};

TEST_F(Configurations, KeepWhatTheyWereMadeFrom) {
  const CoreDataConfiguration made = configuration(Stage::extensions);

  EXPECT_EQ(made.stage(), Stage::extensions);
  EXPECT_EQ(made.modelName(), "Model");
  EXPECT_EQ(made.bundleIdentifier(), "com.example.coredata");
  EXPECT_EQ(made.iCloudIdentifier(), "iCloud.com.example");
  EXPECT_EQ(made.groupIdentifier(), "group.example");
  EXPECT_EQ(made.author(), "app-main");
  EXPECT_EQ(made.path(), path_);
  EXPECT_TRUE(made.useCloudSync());
}

TEST_F(Configurations, NumberTheirStagesInOrder) {
  int next = 0;
  for (const Stage stage : kAllStages) EXPECT_EQ(static_cast<int>(stage), next++);
}

TEST_F(Configurations, UseTheLocationAsItIs) {
  for (const Stage stage : kAllStages) EXPECT_EQ(description(stage).url(), path_);

  EXPECT_TRUE(std::filesystem::is_empty(directory_.path()));
}

TEST_F(Configurations, OfTempMigrateAndProtectTheLocalStoreByItself) {
  signIn();

  const NSPersistentStoreDescription made = description(Stage::temp);

  EXPECT_EQ(made.configuration(), "Local");
  EXPECT_TRUE(made.shouldMigrateStoreAutomatically());
  EXPECT_TRUE(made.shouldInferMappingModelAutomatically());
  EXPECT_EQ(made.type(), coredata::NSSQLiteStoreType);
  EXPECT_EQ(made.options(), (ValueDictionary{{"NSPersistentStoreFileProtectionKey",
                                              "NSFileProtectionCompleteUnlessOpen"}}));
  EXPECT_FALSE(made.cloudKitContainerOptions());
}

TEST_F(Configurations, OfAllOtherStagesNameNoConfigurationAndLeaveMigrationToTheMigrator) {
  for (const Stage stage : {Stage::inMemory, Stage::production, Stage::extensions}) {
    const NSPersistentStoreDescription made = description(stage);
    EXPECT_EQ(made.configuration(), std::nullopt);
    EXPECT_FALSE(made.shouldMigrateStoreAutomatically());
    EXPECT_FALSE(made.shouldInferMappingModelAutomatically());
    EXPECT_FALSE(made.options().contains("NSPersistentStoreFileProtectionKey"));
  }
}

TEST_F(Configurations, OfInMemoryHoldNothingButTheLocation) {
  signIn();

  const NSPersistentStoreDescription made = description(Stage::inMemory);

  EXPECT_TRUE(made.options().empty());
  EXPECT_FALSE(made.cloudKitContainerOptions());
}

TEST_F(Configurations, OfProductionAreMirroredForAUserWhoIsSignedInAndWantsIt) {
  signIn();

  const NSPersistentStoreDescription made = description(Stage::production);

  EXPECT_EQ(made.options(), kSharedStoreOptions);
  ASSERT_TRUE(made.cloudKitContainerOptions());
  EXPECT_EQ(made.cloudKitContainerOptions()->containerIdentifier(), "iCloud.com.example");
}

TEST_F(Configurations, OfProductionStayTrackedWithoutMirroring) {
  const NSPersistentStoreDescription signedOut = description(Stage::production, true);
  signIn();
  const NSPersistentStoreDescription unwanted = description(Stage::production, false);

  for (const NSPersistentStoreDescription& made : {signedOut, unwanted}) {
    EXPECT_EQ(made.options(), kSharedStoreOptions);
    EXPECT_FALSE(made.cloudKitContainerOptions());
  }
}

TEST_F(Configurations, OfExtensionsAreTrackedAndNeverMirrored) {
  signIn();

  const NSPersistentStoreDescription made = description(Stage::extensions);

  EXPECT_EQ(made.options(), kSharedStoreOptions);
  EXPECT_FALSE(made.cloudKitContainerOptions());
}

TEST_F(Configurations, ChooseTheContainersKindByTheStageAlone) {
  for (const Stage stage : kAllStages) {
    for (const bool useCloudSync : {false, true}) {
      const auto container =
          persistentContainer(configuration(stage, useCloudSync), support::currentModel(), files_);
      EXPECT_EQ(foundation::as<NSPersistentCloudKitContainer>(container) != nullptr,
                stage == Stage::production);
    }
  }
}

TEST_F(Configurations, MakeAContainerWithTheirStoreNotYetLoaded) {
  const auto container =
      persistentContainer(configuration(Stage::extensions), support::currentModel(), files_);

  EXPECT_EQ(container->name(), "Model");
  ASSERT_EQ(container->persistentStoreDescriptions().size(), 1U);
  EXPECT_EQ(container->persistentStoreDescriptions().front().url(), path_);
  EXPECT_TRUE(container->persistentStoreCoordinator()->persistentStores().empty());
}

TEST_F(Configurations, OpenAStoreAtEachStage) {
  signIn();
  for (const Stage stage : kAllStages) {
    const auto container =
        persistentContainer(configuration(stage), support::currentModel(), files_);
    std::vector<std::string> errors;
    container->loadPersistentStores([&](const auto&, const auto& error) {
      if (error) errors.push_back(error->description());
    });

    EXPECT_EQ(errors, std::vector<std::string>());
    EXPECT_EQ(container->persistentStoreCoordinator()->persistentStores().size(), 1U);
  }
}

}  // namespace
