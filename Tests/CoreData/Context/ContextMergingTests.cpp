#include <memory>

#include "CoreData/SQLite/StoreVFS.h"
#include "Tests/Support/FaultVFS.h"
#include "Tests/Support/GardenTest.h"

namespace {

using coredata::NSManagedObjectContext;
using foundation::make;
using foundation::Ref;
using garden::Bed;
using garden::Label;
using garden::Plant;
using garden::Store;
using garden::Tool;
using support::FaultVFS;

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

TEST_F(ContextMerging, ForgetsAMemberOnceGivenToABedThatIsDeletedOnBothSides) {
  Ref<Bed> doomed;
  Ref<Bed> other;
  Ref<Tool> tool;
  context->performBlockAndWait([&] {
    doomed = make<Bed>(*context);
    other = make<Bed>(*context);
    tool = make<Tool>(*context);
    tool->setName("Rake");
    context->save();
    tool->setBed(doomed);
    context->delete_(doomed);
    context->processPendingChanges();
  });
  const auto saveElsewhere = [&](auto&& change) {
    sibling->performBlockAndWait([&] {
      change();
      sibling->save();
    });
    settle();
  };
  saveElsewhere([&] { in(*sibling, tool)->setBed(in(*sibling, doomed)); });
  saveElsewhere([&] {
    in(*sibling, tool)->setBed(in(*sibling, other));
    sibling->delete_(in(*sibling, doomed));
  });

  context->performBlockAndWait([&] {
    EXPECT_EQ(tool->bed(), other);
    EXPECT_TRUE(other->tools().contains(tool));
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

TEST_F(ContextMerging, TurnsAnObjectWhoseRowCannotBeReadIntoAFaultInsteadOfThrowing) {
  FaultVFS vfs;
  const coredata::StoreVFSOverride faulty(vfs.name());
  const Store failing;
  const Ref<NSManagedObjectContext> reader = failing.newContext();
  Ref<Plant> plant;
  reader->performBlockAndWait([&] {
    plant = make<Plant>(*reader);
    plant->setName("reed");
    reader->save();
  });
  const auto elsewhere = failing.opened()->newBackgroundContext();
  elsewhere->performBlockAndWait([&] {
    elsewhere->fetch(Plant::fetchRequest())[0]->setName("sedge");
    elsewhere->save();
  });
  const auto list = std::make_shared<const foundation::ValueDictionary>(
      foundation::ValueDictionary{{std::string(coredata::NSUpdatedObjectsKey),
                                   foundation::ValueList{foundation::Value(plant->objectID())}}});
  const foundation::NSNotification notification(NSManagedObjectContext::didSaveNotification(),
                                                nullptr, list);

  reader->performBlockAndWait([&] {
    vfs.reset();
    vfs.watch(support::kEverything);
    vfs.failAt(1, SQLITE_IOERR, true);
    EXPECT_NO_THROW(reader->mergeChangesFromContextDidSave(notification));
    EXPECT_TRUE(vfs.faultWasReached());
    EXPECT_TRUE(plant->isFault());
    vfs.reset();
  });

  reader->performBlockAndWait([&] { EXPECT_EQ(plant->name(), "sedge"); });
}

}  // namespace
