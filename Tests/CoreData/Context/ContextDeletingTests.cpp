#include "CoreData/Context/SaveError.h"
#include "Tests/Support/GardenTest.h"

namespace {

using foundation::make;
using garden::Bed;
using garden::Handle;
using garden::Label;
using garden::Plant;
using garden::Tool;
using ContextDeleting = garden::Test;

TEST_F(ContextDeleting, TakesTheObjectOutOfItsInversesAtOnce) {
  context->performBlockAndWait([&] {
    auto bed = make<Bed>(*context);
    auto plant = make<Plant>(*context);
    plant->setBed(bed);
    context->save();

    context->delete_(plant);

    EXPECT_EQ(bed->plants().count(), 0U);
    EXPECT_TRUE(plant->isDeleted());
    EXPECT_EQ(plant->managedObjectContext(), context);
    context->save();
    EXPECT_EQ(plant->managedObjectContext(), nullptr);
  });
  EXPECT_EQ(stored<Plant>(), 0U);
}

TEST_F(ContextDeleting, CascadesThroughSavedAndUnsavedParts) {
  context->performBlockAndWait([&] {
    auto bed = make<Bed>(*context);
    for (int i = 0; i < 3; ++i) {
      auto plant = make<Plant>(*context);
      plant->setBed(bed);
      plant->setLabel(make<Label>(*context));
    }
    context->save();
    auto unsaved = make<Plant>(*context);
    unsaved->setBed(bed);
    unsaved->setLabel(make<Label>(*context));

    context->delete_(bed);
    EXPECT_EQ(context->fetch(Plant::fetchRequest()).size(), 0U);
    context->save();
  });
  EXPECT_EQ(stored<Bed>() + stored<Plant>() + stored<Label>(), 0U);
}

TEST_F(ContextDeleting, MakesMembersForgetANullifiedOwner) {
  context->performBlockAndWait([&] {
    auto bed = make<Bed>(*context);
    auto tool = make<Tool>(*context);
    tool->setName("rake");
    tool->setBed(bed);
    context->save();

    context->delete_(bed);
    context->save();

    EXPECT_EQ(tool->bed(), nullptr);
  });
  EXPECT_EQ(stored<Tool>(), 1U);
}

TEST_F(ContextDeleting, IsDeniedWhileARelationshipWithTheDenyRuleLeadsAnywhere) {
  context->performBlockAndWait([&] {
    auto tool = make<Tool>(*context);
    tool->setName("rake");
    auto handle = make<Handle>(*context);
    handle->setTool(tool);
    context->save();

    context->delete_(tool);
    try {
      context->save();
      FAIL() << "the deletion was let through";
    } catch (const foundation::Error& error) {
      EXPECT_EQ(error.code(), static_cast<std::int64_t>(coredata::SaveErrorCode::deletionDenied));
    }
    EXPECT_TRUE(tool->isDeleted());

    context->delete_(handle);
    context->save();
  });
  EXPECT_EQ(stored<Tool>() + stored<Handle>(), 0U);
}

TEST_F(ContextDeleting, LetsAnObjectThatWasNeverSavedVanish) {
  context->performBlockAndWait([&] {
    auto plant = make<Plant>(*context);
    context->delete_(plant);
    context->processPendingChanges();

    EXPECT_FALSE(context->hasChanges());
    EXPECT_EQ(plant->managedObjectContext(), nullptr);
    EXPECT_FALSE(plant->name().has_value());
    plant->setName("ghost");
    EXPECT_FALSE(plant->name().has_value());
  });
}

TEST_F(ContextDeleting, IsNoErrorWhenBothSidesDeleteUnderTheTrumpPolicy) {
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

    context->delete_(bed);
    EXPECT_NO_THROW(context->save());
  });
}

TEST_F(ContextDeleting, LeavesNoOrphanOfAnotherWriterBehind) {
  context->setAutomaticallyMergesChangesFromParent(false);
  context->setMergePolicy(coredata::NSMergeByPropertyObjectTrumpMergePolicy);
  context->performBlockAndWait([&] {
    auto bed = make<Bed>(*context);
    context->save();
    EXPECT_EQ(bed->plants().count(), 0U);
    const auto other = store.newContext();
    other->performBlockAndWait([&] {
      auto plant = make<Plant>(*other);
      plant->setBed(other->fetch(Bed::fetchRequest()).first());
      plant->setLabel(make<Label>(*other));
      other->save();
    });

    context->delete_(bed);
    context->save();
  });
  EXPECT_EQ(stored<Plant>() + stored<Label>(), 0U);
}

}  // namespace
