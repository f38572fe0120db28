#include <vector>

#include "Foundation/Notifications/NSNotificationCenter.h"
#include "Foundation/Queues/MainQueue.h"
#include "Tests/Support/GardenTest.h"

namespace {

using coredata::NSManagedObjectContext;
using foundation::make;
using foundation::NSNotification;
using foundation::NSNotificationCenter;
using foundation::Object;
using foundation::Ref;
using foundation::Value;
using foundation::ValueDictionary;
using foundation::ValueList;
using garden::Bed;
using garden::Plant;
using garden::Tool;

class ContextNotifications : public garden::Test {
 protected:
  std::vector<NSNotification> posted;
  Ref<Object> token = NSNotificationCenter::defaultCenter().addObserver(
      NSManagedObjectContext::didSaveNotification(), context,
      [this](const NSNotification& notification) { posted.push_back(notification); });

  /// The objects under a key of the last notification.
  [[nodiscard]] Value listed(std::string_view key) const {
    const Value* value = posted.back().userInfoValue(key);
    return value == nullptr ? Value() : *value;
  }
};

TEST_F(ContextNotifications, TellWhatASaveInsertedUpdatedAndDeleted) {
  context->performBlockAndWait([&] {
    auto bed = make<Bed>(*context);
    auto plant = make<Plant>(*context);
    context->save();

    ASSERT_EQ(posted.size(), 1U);
    EXPECT_EQ(posted.back().object(), Ref<Object>(context));
    EXPECT_EQ(listed("inserted"), Value(ValueList{bed, plant}));
    EXPECT_EQ(listed("updated"), Value(ValueList{}));
    EXPECT_EQ(listed("deleted"), Value(ValueList{}));

    bed->setName("north");
    context->delete_(plant);
    auto tool = make<Tool>(*context);
    tool->setName("rake");
    context->save();

    ASSERT_EQ(posted.size(), 2U);
    EXPECT_EQ(listed("inserted"), Value(ValueList{tool}));
    EXPECT_EQ(listed("updated"), Value(ValueList{bed}));
    EXPECT_EQ(listed("deleted"), Value(ValueList{plant}));
  });
}

TEST_F(ContextNotifications, ListWhatTheDeleteRulesTookAlong) {
  context->performBlockAndWait([&] {
    auto bed = make<Bed>(*context);
    auto plant = make<Plant>(*context);
    plant->setBed(bed);
    context->save();

    context->delete_(bed);
    context->save();

    EXPECT_EQ(listed("deleted"), Value(ValueList{bed, plant}));
  });
}

TEST_F(ContextNotifications, ComeWhenTheSaveIsDone) {
  bool wasDone = false;
  const Ref<Object> witness = NSNotificationCenter::defaultCenter().addObserver(
      NSManagedObjectContext::didSaveNotification(), context,
      [&](const NSNotification&) { wasDone = !context->hasChanges() && stored<Bed>() == 1; });
  context->performBlockAndWait([&] {
    static_cast<void>(make<Bed>(*context));
    context->save();
  });

  EXPECT_TRUE(wasDone);
}

TEST_F(ContextNotifications, NameDeletedObjectsByTheirIdentifiers) {
  context->performBlockAndWait([&] {
    auto bed = make<Bed>(*context);
    context->save();
    context->delete_(bed);
    context->save();

    const auto gone = foundation::as<Bed>(Ref<Object>(listed("deleted").list()->front().object()));
    ASSERT_NE(gone->objectID(), nullptr);
    EXPECT_EQ(gone->objectID()->key(), 1);
  });
}

TEST_F(ContextNotifications, DoNotComeWithoutChanges) {
  context->performBlockAndWait([&] {
    context->save();
    context->delete_(make<Bed>(*context));
    context->save();
  });

  EXPECT_TRUE(posted.empty());
}

TEST_F(ContextNotifications, DoNotComeWhenTheSaveFails) {
  context->performBlockAndWait([&] {
    static_cast<void>(make<Tool>(*context));
    EXPECT_THROW(context->save(), foundation::Error);
  });

  EXPECT_TRUE(posted.empty());
}

/// A context that merges nothing by itself, and the saves of another one to hand it.
class ContextMergingByHand : public ContextNotifications {
 protected:
  Ref<NSManagedObjectContext> reader = store.newContext();
  Ref<Bed> bed;
  Ref<Plant> plant;

  void SetUp() override {
    reader->setAutomaticallyMergesChangesFromParent(false);
    context->performBlockAndWait([&] {
      bed = make<Bed>(*context);
      bed->setName("north");
      plant = make<Plant>(*context);
      plant->setName("ash");
      plant->setBed(bed);
      context->save();
    });
  }
  /// Saves what `work` changes, and gives the notification of it.
  template <typename Work>
  NSNotification notificationOf(Work&& work) {
    context->performBlockAndWait([&] {
      work();
      context->save();
    });
    return posted.back();
  }
  static NSNotification notification(ValueDictionary userInfo) {
    return NSNotification(NSManagedObjectContext::didSaveNotification(), nullptr,
                          std::make_shared<const ValueDictionary>(std::move(userInfo)));
  }
};

TEST_F(ContextMergingByHand, RefreshesUpdatedObjectsAndKeepsLocalChanges) {
  reader->performBlockAndWait([&] {
    const Ref<Bed> mine = in(*reader, bed);
    EXPECT_EQ(mine->name(), "north");
    mine->setRank(7);
    const NSNotification saved = notificationOf([&] { bed->setName("south"); });
    EXPECT_EQ(mine->name(), "north");

    reader->mergeChangesFromContextDidSave(saved);

    EXPECT_EQ(mine->name(), "south");
    EXPECT_EQ(mine->rank(), 7);
    EXPECT_TRUE(mine->isUpdated());
    EXPECT_NO_THROW(reader->save());
  });
}

TEST_F(ContextMergingByHand, BringsInsertedObjectsIntoSetsThatWereRead) {
  reader->performBlockAndWait([&] {
    const Ref<Bed> mine = in(*reader, bed);
    EXPECT_EQ(mine->plants().count(), 1U);
    Ref<Plant> added;
    const NSNotification saved = notificationOf([&] {
      added = make<Plant>(*context);
      added->setBed(bed);
    });

    reader->mergeChangesFromContextDidSave(saved);

    EXPECT_EQ(mine->plants().count(), 2U);
    EXPECT_TRUE(mine->plants().contains(in(*reader, added)));
  });
}

TEST_F(ContextMergingByHand, TakesDeletedObjectsOutOfTheirRelationships) {
  reader->performBlockAndWait([&] {
    const Ref<Bed> bedHere = in(*reader, bed);
    const Ref<Plant> plantHere = in(*reader, plant);
    EXPECT_EQ(bedHere->plants().count(), 1U);
    EXPECT_EQ(plantHere->name(), "ash");
    const NSNotification saved = notificationOf([&] { context->delete_(plant); });

    reader->mergeChangesFromContextDidSave(saved);

    EXPECT_TRUE(plantHere->isDeleted());
    EXPECT_FALSE(plantHere->name().has_value());
    EXPECT_TRUE(bedHere->plants().empty());
    EXPECT_FALSE(reader->hasChanges());
  });
}

TEST_F(ContextMergingByHand, MayBeRepeated) {
  reader->performBlockAndWait([&] {
    const Ref<Bed> bedHere = in(*reader, bed);
    const Ref<Plant> plantHere = in(*reader, plant);
    EXPECT_EQ(plantHere->bed(), bedHere);
    const NSNotification saved = notificationOf([&] {
      bed->setName("south");
      context->delete_(plant);
    });
    for (int i = 0; i < 3; ++i) reader->mergeChangesFromContextDidSave(saved);

    EXPECT_EQ(bedHere->name(), "south");
    EXPECT_TRUE(plantHere->isDeleted());
    EXPECT_TRUE(bedHere->plants().empty());
  });
}

TEST_F(ContextMergingByHand, TakesIdentifiersInPlaceOfObjects) {
  reader->performBlockAndWait([&] {
    const Ref<Bed> bedHere = in(*reader, bed);
    const Ref<Plant> plantHere = in(*reader, plant);
    EXPECT_EQ(bedHere->name(), "north");
    EXPECT_EQ(plantHere->name(), "ash");
    const auto gone = plant->objectID();
    static_cast<void>(notificationOf([&] {
      bed->setName("south");
      context->delete_(plant);
    }));

    reader->mergeChangesFromContextDidSave(
        notification({{"updated", ValueList{bed->objectID()}}, {"deleted", ValueList{gone}}}));

    EXPECT_EQ(bedHere->name(), "south");
    EXPECT_TRUE(plantHere->isDeleted());
  });
}

TEST_F(ContextMergingByHand, TakesTheSavesOfAnotherContainerOfTheFile) {
  const auto container = store.opened();
  const auto theirs = container->newBackgroundContext();
  theirs->performBlockAndWait([&] {
    const Ref<Bed> bedThere = theirs->fetch(Bed::fetchRequest()).first();
    EXPECT_EQ(bedThere->name(), "north");
    const NSNotification saved = notificationOf([&] { bed->setName("south"); });

    theirs->mergeChangesFromContextDidSave(saved);

    EXPECT_EQ(bedThere->name(), "south");
  });
}

TEST_F(ContextMergingByHand, IgnoresObjectsOfAnotherStore) {
  const garden::Store elsewhere;
  const auto theirs = elsewhere.newContext();
  theirs->performBlockAndWait([&] {
    const auto bedThere = make<Bed>(*theirs);
    bedThere->setName("east");
    theirs->save();
    ASSERT_EQ(bedThere->objectID()->key(), bed->objectID()->key());
    const NSNotification saved = notificationOf([&] { context->delete_(bed); });

    theirs->mergeChangesFromContextDidSave(saved);

    EXPECT_FALSE(bedThere->isDeleted());
    EXPECT_EQ(bedThere->name(), "east");
  });
}

TEST_F(ContextMergingByHand, IgnoresWhatItDoesNotKnow) {
  reader->performBlockAndWait([&] {
    const Ref<Bed> mine = in(*reader, bed);
    EXPECT_EQ(mine->name(), "north");
    const auto unsaved = make<Bed>(*reader);

    reader->mergeChangesFromContextDidSave(
        NSNotification(NSManagedObjectContext::didSaveNotification()));
    reader->mergeChangesFromContextDidSave(
        notification({{"deleted", "all of them"},
                      {"updated", ValueList{"north", 1, Value(), unsaved->objectID()}},
                      {"inserted", ValueDictionary{}}}));

    EXPECT_EQ(mine->name(), "north");
    EXPECT_EQ(reader->insertedObjects().size(), 1U);
    EXPECT_FALSE(unsaved->isDeleted());
  });
}

}  // namespace
