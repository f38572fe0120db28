#include "CoreData/Container/NSPersistentContainer.h"
#include "CoreData/Context/SaveError.h"
#include "CoreData/Model/ModelBuilder.h"
#include "Tests/Support/GardenTest.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace {

using foundation::make;
using foundation::Ref;
using garden::Bed;
using garden::Label;
using garden::Plant;
using garden::Tool;
using ContextSaving = garden::Test;

TEST_F(ContextSaving, KeepsEveryKindOfValue) {
  const foundation::UUID code;
  const foundation::Date day = foundation::Date::fromReference(738000000.123456789);
  context->performBlockAndWait([&] {
    auto plant = make<Plant>(*context);
    plant->setName("Ähre 🌾");
    plant->setHeight(1.25);
    plant->setLeaves(-7);
    plant->setSeeds(2'000'000'000);
    plant->setCells(std::int64_t{1} << 60);
    plant->setEvergreen(true);
    plant->setPlanted(day);
    plant->setPhoto(foundation::Data::fromText(std::string_view("\0\1\2", 3)));
    plant->setCode(code);
    plant->setLatitude(foundation::NSNumber(-0.5));
    context->save();
  });

  store.reopen();

  const auto reader = store.newContext();
  reader->performBlockAndWait([&] {
    const auto plants = reader->fetch(Plant::fetchRequest());
    ASSERT_EQ(plants.size(), 1U);
    const Ref<Plant> plant = plants[0];
    EXPECT_EQ(plant->name(), "Ähre 🌾");
    EXPECT_EQ(plant->height(), 1.25);
    EXPECT_EQ(plant->leaves(), -7);
    EXPECT_EQ(plant->seeds(), 2'000'000'000);
    EXPECT_EQ(plant->cells(), std::int64_t{1} << 60);
    EXPECT_TRUE(plant->evergreen());
    EXPECT_EQ(plant->planted(), day);
    EXPECT_EQ(plant->photo(), foundation::Data::fromText(std::string_view("\0\1\2", 3)));
    EXPECT_EQ(plant->code(), code);
    EXPECT_EQ(plant->latitude(), foundation::NSNumber(-0.5));
  });
}

TEST_F(ContextSaving, StartsNewObjectsWithTheDefaultsOfTheModel) {
  context->performBlockAndWait([&] {
    auto plant = make<Plant>(*context);

    EXPECT_EQ(plant->leaves(), 2);
    EXPECT_EQ(plant->height(), 0.0);
    EXPECT_FALSE(plant->name().has_value());
    EXPECT_FALSE(plant->latitude().has_value());
  });
}

TEST_F(ContextSaving, MakesTheSameIdentifierPermanent) {
  context->performBlockAndWait([&] {
    auto bed = make<Bed>(*context);
    const auto identifier = bed->objectID();
    ASSERT_TRUE(identifier->isTemporaryID());

    context->save();

    EXPECT_FALSE(identifier->isTemporaryID());
    EXPECT_EQ(bed->objectID(), identifier);
    EXPECT_EQ(context->objectWithID(*identifier).get(), bed.get());
    EXPECT_FALSE(context->hasChanges());
  });
}

TEST_F(ContextSaving, WritesRelationshipsBetweenNewObjects) {
  context->performBlockAndWait([&] {
    auto bed = make<Bed>(*context);
    auto plant = make<Plant>(*context);
    auto label = make<Label>(*context);
    plant->setBed(bed);
    plant->setLabel(label);
    context->save();
  });

  const auto reader = store.newContext();
  reader->performBlockAndWait([&] {
    const Ref<Plant> plant = reader->fetch(Plant::fetchRequest()).first();
    const Ref<Bed> bed = reader->fetch(Bed::fetchRequest()).first();
    EXPECT_EQ(plant->bed(), bed);
    EXPECT_TRUE(bed->plants().contains(plant));
    EXPECT_EQ(plant->label()->plant(), plant);
  });
}

TEST_F(ContextSaving, RefusesAMissingMandatoryValueAndKeepsTheChanges) {
  context->performBlockAndWait([&] {
    auto tool = make<Tool>(*context);

    try {
      context->save();
      FAIL() << "the save was let through";
    } catch (const foundation::Error& error) {
      EXPECT_EQ(error.code(),
                static_cast<std::int64_t>(coredata::SaveErrorCode::missingMandatoryProperty));
    }

    EXPECT_TRUE(tool->isInserted());
    EXPECT_TRUE(tool->objectID()->isTemporaryID());
    tool->setName("spade");
    context->save();
  });
  EXPECT_EQ(stored<Tool>(), 1U);
}

TEST_F(ContextSaving, WritesNothingForAnEqualValue) {
  context->performBlockAndWait([&] {
    auto bed = make<Bed>(*context);
    bed->setName("north");
    context->save();
    const auto before =
        store.container().persistentStoreCoordinator()->store()->engine()->newestTransaction();

    bed->setName("north");
    EXPECT_TRUE(bed->isUpdated());
    EXPECT_TRUE(context->hasChanges());
    context->save();

    EXPECT_FALSE(context->hasChanges());
    EXPECT_EQ(
        store.container().persistentStoreCoordinator()->store()->engine()->newestTransaction(),
        before);
  });
}

TEST_F(ContextSaving, DoesNotTouchTheRowWhoseToManySideAloneChanged) {
  context->performBlockAndWait([&] {
    auto bed = make<Bed>(*context);
    context->save();
    const auto other = store.newContext();
    other->performBlockAndWait([&] {
      auto same = coredata::properties::uncheckedCast<Bed>(other->objectWithID(*bed->objectID()));
      make<Plant>(*other)->setBed(same);
      other->save();
    });

    make<Plant>(*context)->setBed(bed);

    EXPECT_NO_THROW(context->save());
    EXPECT_EQ(bed->plants().count(), 2U);
  });
}

TEST_F(ContextSaving, ThrowsAConflictUnderTheErrorPolicyAndWritesNothing) {
  context->setAutomaticallyMergesChangesFromParent(false);
  context->performBlockAndWait([&] {
    auto bed = make<Bed>(*context);
    bed->setName("north");
    context->save();
    const auto other = store.newContext();
    other->performBlockAndWait([&] {
      other->fetch(Bed::fetchRequest()).first()->setName("south");
      other->save();
    });

    bed->setName("west");
    (void)make<Plant>(*context);

    EXPECT_THROW(context->save(), foundation::Error);
    EXPECT_EQ(bed->name(), "west");
    EXPECT_TRUE(bed->isUpdated());
  });
  EXPECT_EQ(stored<Plant>(), 0U);
}

TEST_F(ContextSaving, MergesPropertyByPropertyUnderTheTrumpPolicy) {
  context->setAutomaticallyMergesChangesFromParent(false);
  context->setMergePolicy(coredata::NSMergeByPropertyObjectTrumpMergePolicy);
  context->performBlockAndWait([&] {
    auto bed = make<Bed>(*context);
    bed->setName("north");
    context->save();
    const auto other = store.newContext();
    other->performBlockAndWait([&] {
      auto same = other->fetch(Bed::fetchRequest()).first();
      same->setName("south");
      same->setRank(5);
      other->save();
    });

    bed->setName("west");
    context->save();

    EXPECT_EQ(bed->name(), "west");
    EXPECT_EQ(bed->rank(), 5);
  });
}

TEST_F(ContextSaving, LetsADeletionElsewhereStandUnderTheTrumpPolicy) {
  context->setAutomaticallyMergesChangesFromParent(false);
  context->setMergePolicy(coredata::NSMergeByPropertyObjectTrumpMergePolicy);
  context->performBlockAndWait([&] {
    auto bed = make<Bed>(*context);
    context->save();
    const auto other = store.newContext();
    other->performBlockAndWait([&] {
      other->delete_(other->fetch(Bed::fetchRequest()).first());
      other->save();
    });

    bed->setName("west");
    EXPECT_NO_THROW(context->save());

    EXPECT_TRUE(bed->isDeleted());
    EXPECT_FALSE(bed->name().has_value());
    EXPECT_FALSE(context->hasChanges());
  });
  EXPECT_EQ(stored<Bed>(), 0U);
}

TEST_F(ContextSaving, ListsAllThatItRefuses) {
  context->performBlockAndWait([&] {
    static_cast<void>(make<Tool>(*context));
    static_cast<void>(make<Tool>(*context));

    try {
      context->save();
      FAIL() << "the save was let through";
    } catch (const foundation::Error& error) {
      EXPECT_EQ(error.code(), static_cast<std::int64_t>(coredata::SaveErrorCode::severalErrors));
      EXPECT_EQ(error.userInfo().at(std::string(coredata::NSDetailedErrorsKey)).list()->size(), 2U);
    }
    EXPECT_EQ(context->insertedObjects().size(), 2U);
  });
}

TEST_F(ContextSaving, WritesNothingWhenThereIsNothingToWrite) {
  context->performBlockAndWait([&] {
    const auto engine = store.container().persistentStoreCoordinator()->store()->engine();
    static_cast<void>(make<Bed>(*context));
    context->save();
    const auto before = engine->newestTransaction();

    context->save();

    EXPECT_EQ(engine->newestTransaction(), before);
  });
}

/// A plant that is put into a bed which somebody else deletes before the save.
class ContextSavingToDeletedRows : public ContextSaving {
 protected:
  void putIntoDeletedBed(const Ref<Plant>& plant) {
    context->setAutomaticallyMergesChangesFromParent(false);
    const auto bed = make<Bed>(*context);
    context->save();
    plant->setBed(bed);
    const auto other = store.newContext();
    other->performBlockAndWait([&] {
      other->delete_(in(*other, bed));
      other->save();
    });
  }
};

TEST_F(ContextSavingToDeletedRows, ThrowsAConflictUnderTheErrorPolicy) {
  context->performBlockAndWait([&] {
    const auto plant = make<Plant>(*context);
    context->save();
    putIntoDeletedBed(plant);

    try {
      context->save();
      FAIL() << "the save was let through";
    } catch (const foundation::Error& error) {
      EXPECT_EQ(error.code(), static_cast<std::int64_t>(coredata::SaveErrorCode::conflict));
    }
    EXPECT_TRUE(plant->isUpdated());
    EXPECT_NE(plant->bed(), nullptr);
  });
}

TEST_F(ContextSavingToDeletedRows, LeavesTheRelationshipEmptyUnderTheTrumpPolicy) {
  context->setMergePolicy(coredata::NSMergeByPropertyObjectTrumpMergePolicy);
  context->performBlockAndWait([&] {
    const auto plant = make<Plant>(*context);
    context->save();
    putIntoDeletedBed(plant);

    EXPECT_NO_THROW(context->save());

    EXPECT_EQ(plant->bed(), nullptr);
    context->refresh(plant, false);
    EXPECT_EQ(plant->bed(), nullptr);
  });
  EXPECT_EQ(stored<Bed>(), 0U);
}

TEST(ContextSavingReferences, LeaveOutAnObjectThatIsDeletedUnsaved) {
  const auto model = coredata::modelFromSource(
      R"({"entities": {"Tree": {}, "Leaf": {"relationships": {"tree": {"toOne": "Tree"}}}}})");
  const support::TemporaryDirectory directory;
  const auto container = make<coredata::NSPersistentContainer>("Wood", model);
  container->setPersistentStoreDescriptions({coredata::NSPersistentStoreDescription(
      foundation::URL::fileURL((directory.path() / "wood.sqlite").string()))});
  container->loadPersistentStores(
      [](const auto&, const std::optional<foundation::Error>& error) { ASSERT_FALSE(error); });
  coredata::NSManagedObjectContext& context = *container->viewContext();
  const auto leaf = context.insertNewObject("Leaf");
  const auto felled = context.insertNewObject("Tree");
  leaf->setValue(felled, "tree");
  context.delete_(felled);
  static_cast<void>(context.insertNewObject("Tree"));

  context.save();

  EXPECT_TRUE(leaf->valueForKey("tree").isNone());
  context.refresh(*leaf, false);
  EXPECT_TRUE(leaf->valueForKey("tree").isNone());
}

}  // namespace
