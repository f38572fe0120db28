#include "CoreData/Container/NSPersistentCloudKitContainer.h"
#include "Tests/CoreDataStack/Stack/StackPlace.h"

namespace {

using coredata::NSPersistentCloudKitContainer;
using coredata::NSPersistentStoreDescription;
using coredatastack::Failure;

using Texts = std::vector<std::string>;
using Loaded = std::expected<NSPersistentStoreDescription, Failure>;

class CoreDataStackReload : public support::StackPlace {
 protected:
  void addSecondStore() const {
    support::edit(place_.at("Second.sqlite"), Version::version7,
                  [](coredata::NSManagedObjectContext& context) {
                    context.insertNewObject("Activity")->setValue("second", "title");
                  });
  }
};

TEST_F(CoreDataStackReload, OpensAnotherStoreInThePlaceOfTheFirst) {
  addStore(Version::version7, "first");
  addSecondStore();
  const auto made = setUp();
  const auto context = made->managedObjectContext();
  ASSERT_EQ(titles(*context), Texts{"first"});
  Texts loaded;

  made->reload(configuration(Stage::extensions, "Second.sqlite"), [&](const Loaded& outcome) {
    loaded.push_back(outcome ? outcome->url()->lastPathComponent()
                             : outcome.error()->description());
  });

  EXPECT_EQ(loaded, Texts{"Second.sqlite"});
  EXPECT_EQ(made->managedObjectContext(), context);
  EXPECT_EQ(titles(*context), Texts{"second"});
  EXPECT_EQ(made->persistentStoreCoordinator()->persistentStores().size(), 1U);
}

TEST_F(CoreDataStackReload, KeepsTheClassOfTheContainer) {
  addSecondStore();
  const auto made = setUp(Stage::production);
  const auto container = made->persistentContainer();

  made->reload(configuration(Stage::extensions, "Second.sqlite"));

  EXPECT_EQ(made->persistentContainer(), container);
  EXPECT_NE(foundation::as<NSPersistentCloudKitContainer>(container), nullptr);
  EXPECT_EQ(titles(*made->managedObjectContext()), Texts{"second"});
}

TEST_F(CoreDataStackReload, MigratesNothing) {
  support::edit(
      place_.at("Second.sqlite"), Version::version4,
      [](coredata::NSManagedObjectContext& context) { context.insertNewObject("Activity"); });
  const auto made = setUp();
  bool failed = false;

  made->reload(configuration(Stage::extensions, "Second.sqlite"),
               [&](const Loaded& outcome) { failed = !outcome; });

  EXPECT_TRUE(failed);
  EXPECT_EQ(whatHappened(), Texts{"success(false)"});
  EXPECT_TRUE(made->persistentStoreCoordinator()->persistentStores().empty());
}

TEST_F(CoreDataStackReload, LetsWhatWasReadBeforeReadAsAbsent) {
  addStore(Version::version7, "first");
  const auto made = setUp();
  const auto activity = support::allObjects(*made->managedObjectContext(), "Activity")[0];

  made->reload(configuration(Stage::extensions, "Second.sqlite"));

  EXPECT_TRUE(activity->valueForKey("title").isNone());
}

TEST_F(CoreDataStackReload, FollowsTheNewStore) {
  const auto made = setUp();
  const auto& context = made->managedObjectContext();
  made->reload(configuration(Stage::extensions, "Second.sqlite"));

  addSecondStore();

  EXPECT_TRUE(support::runMainQueueUntil([&] { return titles(*context) == Texts{"second"}; }));
}

TEST_F(CoreDataStackReload, ShowsARestoredBackup) {
  addStore(Version::version7, "first");
  const auto made = setUp();
  ASSERT_EQ(titles(*made->managedObjectContext()), Texts{"first"});
  addSecondStore();
  const foundation::Data backup =
      foundation::FileManager::defaultManager().contents(*place_.at("Second.sqlite").filePath());
  std::vector<Failure> outcomes;

  made->restoreFromDropbox(backup, [&](const Failure& failure) { outcomes.push_back(failure); });
  made->reload(configuration());

  EXPECT_EQ(outcomes, std::vector<Failure>{nullptr});
  EXPECT_EQ(titles(*made->managedObjectContext()), Texts{"second"});
}

TEST_F(CoreDataStackReload, ShowsABackupWhoseRestoreNobodyWaitsFor) {
  addStore(Version::version7, "first");
  const auto made = setUp();
  addSecondStore();
  const foundation::Data backup =
      foundation::FileManager::defaultManager().contents(*place_.at("Second.sqlite").filePath());

  made->restoreFromDropbox(backup, {});
  made->restoreFromDropbox(foundation::Data(std::vector<std::uint8_t>{1, 2, 3}), {});
  made->reload(configuration());

  EXPECT_EQ(titles(*made->managedObjectContext()), Texts{"second"});
}

}  // namespace
