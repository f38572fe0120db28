#include <gmock/gmock.h>

#include <future>

#include "Foundation/Values/WeakRef.h"
#include "Tests/Support/GardenTest.h"

// Objects, sets and lists that outlive the context, the container or the store that they came from.

namespace {

using coredata::NSArray;
using coredata::NSManagedObjectContext;
using coredata::NSSet;
using foundation::make;
using foundation::Ref;
using garden::Bed;
using garden::Plant;

class ObjectLifetime : public garden::Test {
 protected:
  Ref<Bed> bed;
  Ref<Plant> plant;
  NSSet<Plant> members;
  NSArray<Plant> list;

  void SetUp() override {
    context->performBlockAndWait([&] {
      bed = make<Bed>(*context);
      bed->setName("north");
      plant = make<Plant>(*context);
      plant->setName("ash");
      plant->setLeaves(9);
      plant->setBed(bed);
      context->save();
      members = bed->plants();
      list = context->fetch(Plant::fetchRequest());
    });
  }
};

TEST_F(ObjectLifetime, LeavesAnObjectWithoutItsContextReadingAsAbsent) {
  context = nullptr;

  EXPECT_EQ(plant->managedObjectContext(), nullptr);
  EXPECT_FALSE(plant->name().has_value());
  EXPECT_EQ(plant->leaves(), 0);
  EXPECT_EQ(plant->bed(), nullptr);
  EXPECT_TRUE(bed->plants().empty());
  EXPECT_TRUE(plant->valueForKey("name").isNone());
  EXPECT_FALSE(plant->hasChanges());
  EXPECT_FALSE(plant->description().empty());
}

TEST_F(ObjectLifetime, IgnoresWritesToAnObjectWithoutItsContextAndSaysSo) {
  context = nullptr;

  testing::internal::CaptureStderr();
  plant->setName("elm");
  plant->setLeaves(3);
  plant->setValue(1.5, "height");
  plant->setBed(nullptr);
  const std::string said = testing::internal::GetCapturedStderr();

  EXPECT_THAT(said, testing::HasSubstr("a change to a Plant that is gone is ignored"));
  EXPECT_FALSE(plant->name().has_value());
  EXPECT_EQ(plant->leaves(), 0);
  EXPECT_FALSE(plant->hasChanges());
}

TEST_F(ObjectLifetime, BearsRelatingObjectsWhoseContextIsGone) {
  context = nullptr;

  testing::internal::CaptureStderr();
  plant->setBed(bed);
  bed->addPlantsObject(plant);
  bed->removePlantsObject(plant);
  bed->setPlants({plant});
  static_cast<void>(testing::internal::GetCapturedStderr());

  EXPECT_EQ(plant->bed(), nullptr);
  EXPECT_TRUE(bed->plants().empty());
}

TEST_F(ObjectLifetime, KeepsTheLengthOfSetsAndListsAndGivesNullForTheirElements) {
  bed = nullptr;
  plant = nullptr;
  context = nullptr;

  ASSERT_EQ(members.count(), 1U);
  EXPECT_EQ(members.at(0), nullptr);
  ASSERT_EQ(list.size(), 1U);
  EXPECT_EQ(list[0], nullptr);
}

TEST_F(ObjectLifetime, KeepsIdentifiersThatWereAskedForBefore) {
  const auto identifier = plant->objectID();
  context = nullptr;

  EXPECT_EQ(plant->objectID(), identifier);
  EXPECT_EQ(identifier->key(), 1);
  const auto reader = store.newContext();
  reader->performBlockAndWait([&] { EXPECT_EQ(in(*reader, plant)->name(), "ash"); });
}

TEST_F(ObjectLifetime, LosesUnsavedObjectsWithTheContext) {
  Ref<Plant> unsaved;
  context->performBlockAndWait([&] {
    unsaved = make<Plant>(*context);
    unsaved->setName("elm");
  });
  context = nullptr;

  EXPECT_FALSE(unsaved->name().has_value());
  EXPECT_FALSE(unsaved->isInserted());
  EXPECT_EQ(stored<Plant>(), 1U);
}

TEST_F(ObjectLifetime, IsNotProlongedForTheContextByItsObjects) {
  const foundation::WeakRef<NSManagedObjectContext> watched(context);
  context = nullptr;

  EXPECT_EQ(watched.lock(), nullptr);
}

TEST_F(ObjectLifetime, LastsForTheContextUntilItsQueuedBlocksHaveRun) {
  std::promise<std::optional<std::string>> read;
  context->performBlock([this, &read] { read.set_value(plant->name()); });
  context = nullptr;

  EXPECT_EQ(read.get_future().get(), "ash");
}

TEST_F(ObjectLifetime, LastsForChangedObjectsUntilTheyAreSaved) {
  const auto identifier = plant->objectID();
  list = {};
  members = {};
  context->performBlockAndWait([&] {
    plant->setName("elm");
    plant = nullptr;

    ASSERT_NE(context->registeredObject(*identifier), nullptr);
    EXPECT_EQ(context->updatedObjects().size(), 1U);
    context->save();
    EXPECT_EQ(context->registeredObject(*identifier), nullptr);
    EXPECT_EQ(context->fetch(Plant::fetchRequest()).first()->name(), "elm");
  });
}

TEST_F(ObjectLifetime, IsOneObjectForAnIdentifierAsLongAsSomebodyHoldsIt) {
  context->performBlockAndWait([&] {
    EXPECT_EQ(context->fetch(Plant::fetchRequest()).first(), plant);
    EXPECT_EQ(context->objectWithID(*plant->objectID()).get(), plant.get());
    EXPECT_EQ(bed->plants().at(0), plant);
    EXPECT_EQ(list[0], plant);
  });
}

TEST_F(ObjectLifetime, LeavesDeletedObjectsWithTheirContextUntilTheSave) {
  context->performBlockAndWait([&] {
    context->delete_(plant);
    EXPECT_EQ(plant->managedObjectContext(), context);
    EXPECT_EQ(plant->name(), "ash");

    context->save();

    EXPECT_EQ(plant->managedObjectContext(), nullptr);
    EXPECT_FALSE(plant->name().has_value());
  });
}

TEST(UnattachedObjects, HoldValuesAndBelongNowhere) {
  const garden::Store store;
  const auto plant = make<Plant>(*store.container().managedObjectModel().entity("Plant"), nullptr);
  plant->setName("ash");

  EXPECT_EQ(plant->name(), "ash");
  EXPECT_EQ(plant->leaves(), 2);
  EXPECT_EQ(plant->objectID(), nullptr);
  EXPECT_EQ(plant->managedObjectContext(), nullptr);
  EXPECT_FALSE(plant->isInserted());
  EXPECT_FALSE(plant->hasChanges());
}

}  // namespace
