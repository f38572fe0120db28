#include <set>

#include "Tests/CoreData/History/HistoryTest.h"

namespace {

using coredata::NSManagedObjectContext;
using foundation::make;
using foundation::Ref;
using foundation::Value;
using garden::Bed;
using garden::Plant;
using garden::transactionsOf;

/// A second container over the store, as another process has, whose saves this one's history tells.
class HistoryMerging : public garden::HistoryTest {
 protected:
  Ref<coredata::NSPersistentContainer> elsewhere = store.opened();
  Ref<NSManagedObjectContext> writer = elsewhere->newBackgroundContext();

  template <typename Work>
  void saveElsewhere(Work&& work) {
    writer->performBlockAndWait([&] {
      work();
      writer->save();
    });
  }
  /// The same object in the writer's context.
  template <typename T>
  [[nodiscard]] Ref<T> there(const Ref<T>& object) const {
    const auto identifier =
        elsewhere->persistentStoreCoordinator()->managedObjectIDForURIRepresentation(
            object->objectID()->uriRepresentation());
    return coredata::properties::uncheckedCast<T>(writer->objectWithID(*identifier));
  }
  /// Merges each transaction after the number into the context.
  void mergeAfter(const Ref<coredata::NSPersistentHistoryToken>& token) {
    const auto transactions = history(Request::fetchHistoryAfterToken(token));
    context->performBlockAndWait([&] {
      for (const auto& transaction : transactions) {
        context->mergeChangesFromContextDidSave(transaction->objectIDNotification());
      }
    });
  }
  [[nodiscard]] Ref<coredata::NSPersistentHistoryToken> newest() {
    return history().back()->token();
  }
};

TEST_F(HistoryMerging, IsToldAsAContextsSaveIs) {
  const auto kept = plant();
  const auto removed = plant();
  const auto before = newest();
  saveElsewhere([&] {
    (void)make<Bed>(*writer);
    there(kept)->setLeaves(9);
    writer->delete_(there(removed));
  });

  const auto notification =
      history(Request::fetchHistoryAfterToken(before)).front()->objectIDNotification();

  EXPECT_EQ(notification.name(), NSManagedObjectContext::didSaveNotification());
  const auto only = [&](std::string_view key) -> const foundation::Object* {
    const auto* list = notification.userInfoValue(key)->list();
    return list->size() == 1 ? list->front().object() : nullptr;
  };
  EXPECT_EQ(only(coredata::NSUpdatedObjectsKey), kept->objectID().get());
  EXPECT_EQ(only(coredata::NSDeletedObjectsKey), removed->objectID().get());
  const auto* inserted = only(coredata::NSInsertedObjectsKey);
  ASSERT_NE(inserted, nullptr);
  EXPECT_EQ(dynamic_cast<const coredata::NSManagedObjectID&>(*inserted).entity().name(), "Bed");
}

TEST_F(HistoryMerging, BringsWhatWasUpdatedElsewhere) {
  const auto planted = plant();
  const auto before = newest();
  saveElsewhere([&] { there(planted)->setLeaves(9); });
  context->performBlockAndWait([&] { EXPECT_EQ(planted->leaves(), 2); });

  mergeAfter(before);

  context->performBlockAndWait([&] { EXPECT_EQ(planted->leaves(), 9); });
}

TEST_F(HistoryMerging, BringsWhatWasInsertedElsewhere) {
  Ref<Bed> bed;
  context->performBlockAndWait([&] {
    bed = make<Bed>(*context);
    context->save();
    EXPECT_TRUE(bed->plants().empty());
  });
  const auto before = newest();
  saveElsewhere([&] { make<Plant>(*writer)->setBed(there(bed)); });

  mergeAfter(before);

  context->performBlockAndWait([&] { EXPECT_EQ(bed->plants().count(), 1U); });
}

TEST_F(HistoryMerging, TakesWhatWasDeletedElsewhere) {
  const auto planted = plant();
  Ref<Bed> bed;
  context->performBlockAndWait([&] {
    bed = make<Bed>(*context);
    planted->setBed(bed);
    context->save();
    EXPECT_EQ(bed->plants().count(), 1U);
  });
  const auto before = newest();
  saveElsewhere([&] { writer->delete_(there(planted)); });

  mergeAfter(before);

  context->performBlockAndWait([&] {
    EXPECT_TRUE(planted->isDeleted());
    EXPECT_TRUE(bed->plants().empty());
  });
}

TEST_F(HistoryMerging, KeepsWhatWasChangedHereAndMayBeRepeated) {
  const auto planted = plant();
  const auto before = newest();
  saveElsewhere([&] {
    there(planted)->setLeaves(9);
    there(planted)->setSeeds(4);
  });
  context->performBlockAndWait([&] { planted->setLeaves(7); });

  for (int i = 0; i < 3; ++i) mergeAfter(before);

  context->performBlockAndWait([&] {
    EXPECT_EQ(planted->leaves(), 7);
    EXPECT_EQ(planted->seeds(), 4);
    EXPECT_TRUE(planted->hasChanges());
  });
}

TEST_F(HistoryMerging, BringsTheViewContextUpToDate) {
  const Ref<NSManagedObjectContext>& view = store.container().viewContext();
  const auto planted = make<Plant>(*view);
  view->save();
  const auto before = newest();
  saveElsewhere([&] {
    there(planted)->setName("fern");
    (void)make<Plant>(*writer);
  });

  for (const auto& transaction :
       transactionsOf(*context, Request::fetchHistoryAfterToken(before))) {
    view->mergeChangesFromContextDidSave(transaction->objectIDNotification());
  }

  EXPECT_EQ(planted->name(), "fern");
  EXPECT_EQ(view->fetch(Plant::fetchRequest()).size(), 2U);
}

}  // namespace
