#include "Tests/Support/GardenTest.h"

namespace {

using coredata::NSManagedObjectContext;
using foundation::make;
using foundation::Ref;
using garden::Bed;
using garden::Label;
using garden::Plant;

/// A context that merges what a sibling saves.
class ContextMerging : public garden::Test {
 protected:
  Ref<NSManagedObjectContext> sibling = store.newContext();
};

TEST_F(ContextMerging, TakesAnObjectDeletedElsewhereOutOfAPendingRelationship) {
  Ref<Plant> plant;
  Ref<Label> label;
  context->performBlockAndWait([&] {
    plant = make<Plant>(*context);
    context->save();
    label = make<Label>(*context);
    label->setPlant(plant);
  });
  sibling->performBlockAndWait([&] {
    sibling->delete_(in(*sibling, plant));
    sibling->save();
  });
  settle();

  context->performBlockAndWait([&] {
    EXPECT_TRUE(plant->isDeleted());
    EXPECT_EQ(label->plant(), nullptr);
    EXPECT_NO_THROW(context->save());
  });
}

TEST_F(ContextMerging, KeepsAMemberWhereItWasPutHereAndNotWhereItWasMovedElsewhere) {
  Ref<Bed> here;
  Ref<Bed> there;
  Ref<Plant> plant;
  context->performBlockAndWait([&] {
    here = make<Bed>(*context);
    there = make<Bed>(*context);
    plant = make<Plant>(*context);
    context->save();
    plant->setBed(here);
  });
  sibling->performBlockAndWait([&] {
    in(*sibling, plant)->setBed(in(*sibling, there));
    sibling->save();
  });
  settle();

  context->performBlockAndWait([&] {
    EXPECT_EQ(plant->bed(), here);
    EXPECT_TRUE(here->plants().contains(plant));
    EXPECT_TRUE(there->plants().empty());
  });
}

TEST_F(ContextMerging, LeavesNoPartnerThatLeadsToADeletedObject) {
  context->setMergePolicy(coredata::NSMergeByPropertyObjectTrumpMergePolicy);
  Ref<Label> label;
  Ref<Plant> plant;
  context->performBlockAndWait([&] {
    label = make<Label>(*context);
    plant = make<Plant>(*context);
    context->save();
    context->delete_(label);
  });
  sibling->performBlockAndWait([&] {
    in(*sibling, plant)->setLabel(in(*sibling, label));
    sibling->save();
  });
  settle();

  context->performBlockAndWait([&] {
    context->save();
    EXPECT_EQ(plant->label(), nullptr);
    EXPECT_FALSE(context->hasChanges());
  });
}

TEST_F(ContextMerging, BringsMembersAddedElsewhereIntoASetThatWasRead) {
  Ref<Bed> bed;
  context->performBlockAndWait([&] {
    bed = make<Bed>(*context);
    context->save();
    EXPECT_TRUE(bed->plants().empty());
  });
  sibling->performBlockAndWait([&] {
    make<Plant>(*sibling)->setBed(in(*sibling, bed));
    sibling->save();
  });
  settle();

  context->performBlockAndWait([&] { EXPECT_EQ(bed->plants().count(), 1U); });
}

}  // namespace
