#include "Tests/Support/GardenTest.h"

namespace {

using foundation::make;
using garden::Bed;
using garden::Label;
using garden::Plant;

using ContextRelationships = garden::Test;

TEST_F(ContextRelationships, KeepBothSidesOfAToManyInStep) {
  context->performBlockAndWait([&] {
    auto north = make<Bed>(*context);
    auto south = make<Bed>(*context);
    auto plant = make<Plant>(*context);

    plant->setBed(north);
    EXPECT_TRUE(north->plants().contains(plant));
    south->addPlantsObject(plant);
    EXPECT_EQ(plant->bed(), south);
    EXPECT_EQ(north->plants().count(), 0U);
    south->removePlantsObject(plant);
    EXPECT_EQ(plant->bed(), nullptr);
    north->setPlants({plant});
    EXPECT_EQ(plant->bed(), north);
    north->setPlants({});
    EXPECT_EQ(plant->bed(), nullptr);
  });
}

TEST_F(ContextRelationships, KeepTheInverseInStepForStoredObjects) {
  context->performBlockAndWait([&] {
    auto north = make<Bed>(*context);
    auto south = make<Bed>(*context);
    auto plant = make<Plant>(*context);
    plant->setBed(north);
    context->save();
    context->refresh(north, false);

    plant->setBed(south);

    EXPECT_EQ(north->plants().count(), 0U);
    EXPECT_EQ(south->plants().count(), 1U);
    EXPECT_TRUE(north->isUpdated());
    EXPECT_TRUE(south->isUpdated());
  });
}

TEST_F(ContextRelationships, DisplaceTheThirdObjectOfAToOne) {
  context->performBlockAndWait([&] {
    auto first = make<Plant>(*context);
    auto second = make<Plant>(*context);
    auto label = make<Label>(*context);
    first->setLabel(label);
    context->save();

    second->setLabel(label);

    EXPECT_EQ(first->label(), nullptr);
    EXPECT_EQ(label->plant(), second);
    EXPECT_TRUE(first->isUpdated());
    context->save();
    context->refresh(first, false);
    EXPECT_EQ(first->label(), nullptr);
  });
}

TEST_F(ContextRelationships, DisplaceOnBothEndsWhenTwoPairsAreCrossed) {
  context->performBlockAndWait([&] {
    auto ash = make<Plant>(*context);
    auto elm = make<Plant>(*context);
    auto a = make<Label>(*context);
    auto e = make<Label>(*context);
    ash->setLabel(a);
    elm->setLabel(e);

    ash->setLabel(e);

    EXPECT_EQ(a->plant(), nullptr);
    EXPECT_EQ(elm->label(), nullptr);
    EXPECT_EQ(e->plant(), ash);
  });
}

TEST_F(ContextRelationships, ShowMembersThatAnotherContextSaved) {
  context->performBlockAndWait([&] {
    auto bed = make<Bed>(*context);
    context->save();
    EXPECT_EQ(bed->plants().count(), 0U);
    const auto other = store.newContext();
    other->performBlockAndWait([&] {
      make<Plant>(*other)->setBed(other->fetch(Bed::fetchRequest()).first());
      other->save();
    });

    context->refresh(bed, true);

    EXPECT_EQ(bed->plants().count(), 1U);
  });
}

TEST_F(ContextRelationships, SurviveARefreshThatMerges) {
  context->performBlockAndWait([&] {
    auto bed = make<Bed>(*context);
    auto stored = make<Plant>(*context);
    stored->setBed(bed);
    context->save();
    auto added = make<Plant>(*context);
    bed->addPlantsObject(added);
    bed->removePlantsObject(stored);
    bed->setName("north");

    context->refresh(bed, true);

    EXPECT_EQ(bed->name(), "north");
    EXPECT_EQ(bed->plants().count(), 1U);
    EXPECT_TRUE(bed->plants().contains(added));
  });
}

TEST_F(ContextRelationships, StopTheProcessAcrossContexts) {
  const auto other = store.newContext();
  EXPECT_DEATH(
      {
        context->performBlockAndWait([&] {
          auto bed = make<Bed>(*context);
          other->performBlockAndWait([&] { make<Plant>(*other)->setBed(bed); });
        });
      },
      "Fatal error: a Plant and a Bed of different contexts cannot be related");
}

}  // namespace
