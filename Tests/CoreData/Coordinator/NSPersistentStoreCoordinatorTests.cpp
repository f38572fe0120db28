#include "CoreData/Coordinator/NSPersistentStoreCoordinator.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "CoreData/Coordinator/StoreError.h"
#include "CoreData/Model/ModelBuilder.h"
#include "CoreData/SQLite/SQLiteStoreError.h"
#include "Tests/Support/ErrorCode.h"
#include "Tests/Support/GardenModel.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace {

using coredata::CoordinatorErrorCode;
using coredata::NSPersistentStoreCoordinator;
using coredata::NSPersistentStoreDescription;
using coredata::StoreErrorCode;
using foundation::make;
using foundation::Ref;
using foundation::URL;
using support::errorCode;
using support::number;

class Coordinators : public testing::Test {
 protected:
  [[nodiscard]] std::filesystem::path path(const char* name = "garden.sqlite") const {
    return directory.path() / name;
  }
  [[nodiscard]] URL url(const char* name = "garden.sqlite") const {
    return URL::fileURL(path(name).string());
  }
  [[nodiscard]] NSPersistentStoreDescription description(const char* name = "garden.sqlite") const {
    return NSPersistentStoreDescription(url(name));
  }
  [[nodiscard]] std::int64_t addingError(const NSPersistentStoreDescription& wanted) const {
    return errorCode([&] { coordinator->addPersistentStore(wanted); });
  }

  support::TemporaryDirectory directory;
  Ref<NSPersistentStoreCoordinator> coordinator =
      make<NSPersistentStoreCoordinator>(garden::model());
};

TEST_F(Coordinators, HaveNoStoreAtFirst) {
  EXPECT_TRUE(coordinator->persistentStores().empty());
  EXPECT_EQ(coordinator->store(), nullptr);
}

TEST_F(Coordinators, MakeAMissingFile) {
  const auto store = coordinator->addPersistentStore(description());

  EXPECT_TRUE(std::filesystem::is_regular_file(path()));
  EXPECT_EQ(coordinator->persistentStores(), std::vector{store});
  EXPECT_EQ(store->url(), url());
  EXPECT_EQ(store->type(), "SQLite");
  EXPECT_EQ(store->configurationName(), std::nullopt);
  EXPECT_EQ(*store->metadata().at("NSStoreUUID").text(), store->identifier());
}

TEST_F(Coordinators, GiveTheOpenStoreForItsURL) {
  const auto store = coordinator->addPersistentStore(description());

  EXPECT_EQ(coordinator->addPersistentStore(description()), store);
  EXPECT_EQ(coordinator->persistentStores().size(), 1U);
}

TEST_F(Coordinators, TakeNoSecondStore) {
  const auto store = coordinator->addPersistentStore(description());

  EXPECT_EQ(addingError(description("other.sqlite")),
            number(CoordinatorErrorCode::alreadyHasStore));

  EXPECT_EQ(coordinator->persistentStores(), std::vector{store});
  EXPECT_FALSE(std::filesystem::exists(path("other.sqlite")));
}

TEST_F(Coordinators, FindTheStoreAgainByItsIdentifier) {
  const std::string before = coordinator->addPersistentStore(description())->identifier();
  coordinator = make<NSPersistentStoreCoordinator>(garden::model());

  EXPECT_EQ(coordinator->addPersistentStore(description())->identifier(), before);
}

TEST_F(Coordinators, RefuseOtherTypes) {
  auto wanted = description();
  wanted.setType("InMemory");

  EXPECT_EQ(addingError(wanted), number(CoordinatorErrorCode::invalidType));
  EXPECT_FALSE(std::filesystem::exists(path()));
}

TEST_F(Coordinators, RefuseADescriptionWithoutALocation) {
  EXPECT_NE(addingError(NSPersistentStoreDescription()), 0);
}

TEST_F(Coordinators, RefuseAConfigurationThatTheModelDoesNotDefine) {
  auto wanted = description();
  wanted.setConfiguration("Local");

  EXPECT_EQ(addingError(wanted), number(CoordinatorErrorCode::unknownConfiguration));
  EXPECT_FALSE(std::filesystem::exists(path()));
}

TEST_F(Coordinators, RememberTheConfiguration) {
  coordinator = make<NSPersistentStoreCoordinator>(
      coredata::modelFromSource(R"({"entities": {"Bed": {}}, "configurations": {"Local": "*"}})"));
  auto wanted = description();
  wanted.setConfiguration("Local");

  EXPECT_EQ(coordinator->addPersistentStore(wanted)->configurationName(), "Local");
}

TEST_F(Coordinators, MakeNoDirectory) {
  EXPECT_EQ(addingError(description("missing/garden.sqlite")),
            number(StoreErrorCode::missingDirectory));
  EXPECT_TRUE(std::filesystem::is_empty(directory.path()));
}

TEST_F(Coordinators, RefusePragmasThatAreNotOnTheList) {
  auto wanted = description();
  wanted.setValue("OFF", "journal_mode");

  EXPECT_EQ(addingError(wanted), number(StoreErrorCode::invalidOption));
}

TEST_F(Coordinators, OpenAScratchStoreAndDeferItsIndexes) {
  auto wanted = description();
  wanted.setOption(true, coredata::kScratchStoreOption);
  wanted.setOption(true, coredata::kDefersIndexesOption);

  const auto store = coordinator->addPersistentStore(wanted);

  EXPECT_TRUE(store->engine()->options().isScratch);
  EXPECT_FALSE(store->engine()->options().buildsIndexes);
}

TEST_F(Coordinators, AddAStoreWithEverythingSaidApart) {
  coordinator = make<NSPersistentStoreCoordinator>(
      coredata::modelFromSource(R"({"entities": {"Bed": {}}, "configurations": {"Local": "*"}})"));
  coordinator->addPersistentStore(description());
  coordinator->removePersistentStore(coordinator->store());

  const auto store = coordinator->addPersistentStore(
      coredata::NSSQLiteStoreType, "Local", url(),
      {{std::string(coredata::NSReadOnlyPersistentStoreOption), true}});

  EXPECT_EQ(store->configurationName(), "Local");
  EXPECT_TRUE(store->engine()->options().readOnly);
  EXPECT_EQ(errorCode([&] {
              coordinator->addPersistentStore("InMemory", std::nullopt, url("other.sqlite"));
            }),
            number(CoordinatorErrorCode::invalidType));
}

TEST_F(Coordinators, DestroyAStoreOnceNobodyHasItOpen) {
  const auto mover = make<NSPersistentStoreCoordinator>(coredata::NSManagedObjectModel::empty());
  coordinator->addPersistentStore(description());
  coordinator->removePersistentStore(coordinator->store());

  mover->destroyPersistentStore(url(), coredata::NSSQLiteStoreType);

  EXPECT_TRUE(std::filesystem::is_empty(directory.path()));
}

TEST_F(Coordinators, ReplaceAStore) {
  const auto mover = make<NSPersistentStoreCoordinator>(coredata::NSManagedObjectModel::empty());
  const std::string other = coordinator->addPersistentStore(description("other"))->identifier();
  coordinator->removePersistentStore(coordinator->store());
  coordinator->addPersistentStore(description());
  coordinator->removePersistentStore(coordinator->store());

  mover->replacePersistentStore(url(), {}, url("other"), {}, coredata::NSSQLiteStoreType);

  EXPECT_EQ(coordinator->addPersistentStore(description())->identifier(), other);
}

TEST_F(Coordinators, NeitherDestroyNorReplaceWhatMayOnlyBeRead) {
  const foundation::ValueDictionary readOnly{
      {std::string(coredata::NSReadOnlyPersistentStoreOption), true}};
  coordinator->addPersistentStore(description("other"));
  coordinator->removePersistentStore(coordinator->store());
  const std::string identifier = coordinator->addPersistentStore(description())->identifier();

  EXPECT_EQ(errorCode([&] {
              coordinator->destroyPersistentStore(url(), coredata::NSSQLiteStoreType, readOnly);
            }),
            number(StoreErrorCode::notWritable));
  EXPECT_EQ(errorCode([&] {
              coordinator->replacePersistentStore(url(), readOnly, url("other"), {},
                                                  coredata::NSSQLiteStoreType);
            }),
            number(StoreErrorCode::notWritable));
  EXPECT_EQ(errorCode([&] { coordinator->destroyPersistentStore(url(), "InMemory"); }),
            number(CoordinatorErrorCode::invalidType));
  EXPECT_EQ(errorCode([&] {
              coordinator->replacePersistentStore(url(), {}, url("other"), {}, "InMemory");
            }),
            number(CoordinatorErrorCode::invalidType));
  EXPECT_EQ(*coordinator->store()->metadata().at("NSStoreUUID").text(), identifier);
}

TEST_F(Coordinators, ReadTheMetadataOfAStoreInUse) {
  const auto store = coordinator->addPersistentStore(description());

  const auto metadata =
      NSPersistentStoreCoordinator::metadataForPersistentStore(coredata::NSSQLiteStoreType, url());

  EXPECT_EQ(*metadata.at("NSStoreUUID").text(), store->identifier());
  EXPECT_TRUE(coordinator->managedObjectModel().isConfiguration(std::nullopt, metadata));
}

TEST_F(Coordinators, ReadNoMetadataWhereThereIsNoStore) {
  EXPECT_EQ(errorCode([&] {
              static_cast<void>(NSPersistentStoreCoordinator::metadataForPersistentStore(
                  coredata::NSSQLiteStoreType, url()));
            }),
            number(StoreErrorCode::missing));
  EXPECT_EQ(errorCode([&] {
              static_cast<void>(
                  NSPersistentStoreCoordinator::metadataForPersistentStore("InMemory", url()));
            }),
            number(CoordinatorErrorCode::invalidType));
  EXPECT_TRUE(std::filesystem::is_empty(directory.path()));
}

}  // namespace
