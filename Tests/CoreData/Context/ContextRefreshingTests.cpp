#include "Tests/Support/GardenTest.h"

namespace {

using coredata::NSManagedObjectContext;
using foundation::make;
using foundation::Ref;
using garden::Bed;
using garden::Plant;

/// A context that hears of others' saves only when it asks.
class ContextRefreshing : public garden::Test {
 protected:
  Ref<Bed> bed;
  Ref<Plant> plant;

  void SetUp() override {
    context->setAutomaticallyMergesChangesFromParent(false);
    context->performBlockAndWait([&] {
      bed = make<Bed>(*context);
      bed->setName("north");
      plant = make<Plant>(*context);
      plant->setBed(bed);
      context->save();
    });
  }
  /// Saves what `work` does in another context.
  template <typename Work>
  void elsewhere(Work&& work) {
    const auto other = store.newContext();
    other->performBlockAndWait([&] {
      work(*other);
      other->save();
    });
  }
};

TEST_F(ContextRefreshing, DropsChangesAndTurnsIntoAFault) {
  context->performBlockAndWait([&] {
    bed->setName("west");

    context->refresh(bed, false);

    EXPECT_TRUE(bed->isFault());
    EXPECT_FALSE(bed->isUpdated());
    EXPECT_FALSE(context->hasChanges());
    EXPECT_EQ(bed->name(), "north");
    EXPECT_FALSE(bed->isFault());
  });
}

TEST_F(ContextRefreshing, FindsThatABedIsGoneOfWhichOnlyItsNewMembersAreKnown) {
  context->performBlockAndWait([&] {
    for (const bool all : {true, false}) {
      Ref<coredata::NSManagedObjectID> identifier;
      elsewhere([&](NSManagedObjectContext& other) {
        const auto made = make<Bed>(other);
        other.save();
        identifier = made->objectID();
      });
      const Ref<coredata::NSManagedObject> other = context->objectWithID(*identifier);
      plant->setBed(coredata::properties::uncheckedCast<Bed>(other));
      EXPECT_TRUE(other->isFault());
      EXPECT_TRUE(other->isUpdated());
      elsewhere([&](NSManagedObjectContext& sibling) {
        sibling.delete_(sibling.objectWithID(*identifier));
      });

      if (all) {
        context->refreshAllObjects();
      } else {
        context->refresh(other, true);
      }

      EXPECT_FALSE(other->hasChanges());
      EXPECT_TRUE(other->isDeleted());
      EXPECT_EQ(plant->bed(), nullptr);
      EXPECT_NO_THROW(context->save());
    }
  });
}

TEST_F(ContextRefreshing, KeepsLocalChangesOverTheNewestRow) {
  context->performBlockAndWait([&] {
    bed->setRank(7);
    elsewhere([&](NSManagedObjectContext& other) {
      in(other, bed)->setName("south");
      in(other, bed)->setRank(1);
    });

    context->refresh(bed, true);

    EXPECT_EQ(bed->name(), "south");
    EXPECT_EQ(bed->rank(), 7);
    EXPECT_TRUE(bed->isUpdated());
    EXPECT_NO_THROW(context->save());
  });
}

TEST_F(ContextRefreshing, LeavesUnsavedObjectsAlone) {
  context->performBlockAndWait([&] {
    auto unsaved = make<Plant>(*context);
    unsaved->setName("ash");
    for (const bool mergeChanges : {true, false}) {
      context->refresh(unsaved, mergeChanges);
      EXPECT_EQ(unsaved->name(), "ash");
      EXPECT_TRUE(unsaved->isInserted());
      EXPECT_FALSE(unsaved->isFault());
    }
  });
}

TEST_F(ContextRefreshing, FindsThatARowIsGoneWithoutThrowing) {
  elsewhere([&](NSManagedObjectContext& other) { other.delete_(in(other, plant)); });

  context->performBlockAndWait([&] {
    plant->setName("ash");
    EXPECT_NO_THROW(context->refresh(plant, true));

    EXPECT_TRUE(plant->isDeleted());
    EXPECT_FALSE(plant->name().has_value());
    EXPECT_FALSE(context->hasChanges());
    EXPECT_NO_THROW(context->save());
  });
}

TEST_F(ContextRefreshing, OfAllObjectsKeepsEveryPendingChange) {
  elsewhere([&](NSManagedObjectContext& other) { in(other, bed)->setRank(3); });

  context->performBlockAndWait([&] {
    auto unsaved = make<Bed>(*context);
    unsaved->setName("new");
    bed->setName("west");
    context->delete_(plant);

    context->refreshAllObjects();

    EXPECT_EQ(bed->rank(), 3);
    EXPECT_EQ(bed->name(), "west");
    EXPECT_TRUE(bed->isUpdated());
    EXPECT_EQ(unsaved->name(), "new");
    EXPECT_TRUE(unsaved->isInserted());
    EXPECT_TRUE(plant->isDeleted());
    EXPECT_EQ(context->deletedObjects().size(), 1U);
    EXPECT_NO_THROW(context->save());
  });
  EXPECT_EQ(stored<Bed>(), 2U);
  EXPECT_EQ(stored<Plant>(), 0U);
}

TEST_F(ContextRefreshing, IsNotNeededAfterARollback) {
  context->performBlockAndWait([&] {
    auto unsaved = make<Bed>(*context);
    bed->setName("west");
    plant->setBed(unsaved);
    context->delete_(plant);

    context->rollback();

    EXPECT_FALSE(context->hasChanges());
    EXPECT_EQ(bed->name(), "north");
    EXPECT_FALSE(plant->isDeleted());
    EXPECT_EQ(plant->bed(), bed);
    EXPECT_TRUE(bed->plants().contains(plant));
    EXPECT_EQ(unsaved->managedObjectContext(), nullptr);
  });
}

TEST_F(ContextRefreshing, IsOfNoUseToObjectsThatTheContextForgot) {
  context->performBlockAndWait([&] {
    bed->setName("west");
    context->reset();

    EXPECT_FALSE(context->hasChanges());
    EXPECT_TRUE(context->registeredObjects().empty());
    EXPECT_EQ(bed->managedObjectContext(), nullptr);
    context->refresh(bed, true);
    EXPECT_FALSE(bed->name().has_value());
    EXPECT_EQ(context->fetch(Bed::fetchRequest()).first()->name(), "north");
  });
}

}  // namespace
