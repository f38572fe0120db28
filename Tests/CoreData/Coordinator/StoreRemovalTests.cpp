#include <gmock/gmock.h>

#include <filesystem>

#include "CoreData/Coordinator/StoreError.h"
#include "Tests/Support/ErrorCode.h"
#include "Tests/Support/GardenTest.h"

namespace {

using coredata::CoordinatorErrorCode;
using coredata::NSManagedObjectContext;
using coredata::NSPersistentStoreCoordinator;
using foundation::make;
using foundation::Ref;
using garden::Bed;
using garden::Plant;
using support::errorCode;
using support::number;

class StoreRemoval : public garden::Test {
 protected:
  Ref<NSPersistentStoreCoordinator> coordinator = store.container().persistentStoreCoordinator();
  Ref<Bed> bed;
  Ref<Plant> plant;

  void SetUp() override {
    context->performBlockAndWait([&] {
      bed = make<Bed>(*context);
      bed->setName("north");
      plant = make<Plant>(*context);
      plant->setName("ash");
      plant->setBed(bed);
      context->save();
    });
  }
  void remove() { coordinator->removePersistentStore(coordinator->store()); }
};

TEST_F(StoreRemoval, IsRefusedForAStoreOfAnotherCoordinator) {
  const garden::Store elsewhere;
  const auto foreign = elsewhere.container().persistentStoreCoordinator()->store();

  EXPECT_EQ(errorCode([&] { coordinator->removePersistentStore(foreign); }),
            number(CoordinatorErrorCode::foreignStore));
  EXPECT_EQ(errorCode([&] { coordinator->removePersistentStore(nullptr); }),
            number(CoordinatorErrorCode::foreignStore));

  EXPECT_EQ(stored<Plant>(), 1U);
  EXPECT_NE(elsewhere.container().persistentStoreCoordinator()->store(), nullptr);
}

TEST_F(StoreRemoval, IsRefusedTheSecondTime) {
  const auto removed = coordinator->store();
  remove();

  EXPECT_EQ(errorCode([&] { coordinator->removePersistentStore(removed); }),
            number(CoordinatorErrorCode::foreignStore));
  EXPECT_TRUE(coordinator->persistentStores().empty());
}

TEST_F(StoreRemoval, LeavesObjectsThatReadAsAbsent) {
  const auto sibling = store.newContext();
  const Ref<Plant> fault = sibling->performBlockAndWait([&] { return in(*sibling, plant); });

  remove();

  context->performBlockAndWait([&] {
    EXPECT_FALSE(plant->name().has_value());
    EXPECT_EQ(plant->bed(), nullptr);
    EXPECT_TRUE(bed->plants().empty());
    EXPECT_EQ(plant->managedObjectContext(), nullptr);
  });
  sibling->performBlockAndWait([&] { EXPECT_FALSE(fault->name().has_value()); });
}

TEST_F(StoreRemoval, IgnoresWritesAndSaysSo) {
  remove();

  context->performBlockAndWait([&] {
    testing::internal::CaptureStderr();
    plant->setName("elm");
    plant->setHeight(3);
    plant->setBed(nullptr);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("is ignored"));
    EXPECT_FALSE(plant->name().has_value());
    EXPECT_FALSE(context->hasChanges());
  });
}

TEST_F(StoreRemoval, LeavesNothingToSaveOrFetch) {
  context->performBlockAndWait([&] {
    remove();
    (void)make<Bed>(*context);

    EXPECT_EQ(errorCode([&] { context->save(); }), number(CoordinatorErrorCode::noStore));
    EXPECT_EQ(errorCode([&] { static_cast<void>(context->fetch(Bed::fetchRequest())); }),
              number(CoordinatorErrorCode::noStore));
    EXPECT_EQ(errorCode([&] { static_cast<void>(context->count(Bed::fetchRequest())); }),
              number(CoordinatorErrorCode::noStore));
    EXPECT_EQ(context->insertedObjects().size(), 1U);
  });
}

TEST_F(StoreRemoval, DropsUnsavedChangesOfStoredObjects) {
  context->performBlockAndWait([&] { plant->setName("elm"); });

  remove();
  coordinator->addPersistentStore(coredata::NSPersistentStoreDescription(store.url()));

  context->performBlockAndWait([&] {
    EXPECT_FALSE(context->hasChanges());
    EXPECT_EQ(context->fetch(Plant::fetchRequest()).first()->name(), "ash");
  });
}

TEST_F(StoreRemoval, MakesRoomForTheSameStoreAgain) {
  const std::string identifier = coordinator->store()->identifier();
  const auto removed = coordinator->store();
  remove();

  const auto again =
      coordinator->addPersistentStore(coredata::NSPersistentStoreDescription(store.url()));

  EXPECT_NE(again, removed);
  EXPECT_EQ(again->identifier(), identifier);
  context->performBlockAndWait([&] {
    const Ref<Plant> found = context->fetch(Plant::fetchRequest()).first();
    ASSERT_NE(found, nullptr);
    EXPECT_NE(found, plant);
    EXPECT_EQ(found->name(), "ash");
    EXPECT_EQ(found->bed()->name(), "north");
  });
}

TEST_F(StoreRemoval, FoldsTheLogIntoTheFile) {
  remove();
  const std::filesystem::path copy = store.directory() / "copy.sqlite";
  std::filesystem::copy_file(store.directory() / "garden.sqlite", copy);

  const auto other = make<NSPersistentStoreCoordinator>(garden::model());
  other->addPersistentStore(
      coredata::NSPersistentStoreDescription(foundation::URL::fileURL(copy.string())));
  const auto reader = make<NSManagedObjectContext>(
      other, coredata::NSManagedObjectContextConcurrencyType::privateQueue);
  reader->performBlockAndWait(
      [&] { EXPECT_EQ(reader->fetch(Plant::fetchRequest()).first()->name(), "ash"); });
}

}  // namespace
