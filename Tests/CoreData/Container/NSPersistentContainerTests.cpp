#include "CoreData/Container/NSPersistentContainer.h"

#include <vector>

#include "CoreData/Coordinator/StoreError.h"
#include "CoreData/SQLite/SQLiteStoreError.h"
#include "Foundation/Queues/MainQueue.h"
#include "Tests/Support/ErrorCode.h"
#include "Tests/Support/GardenTest.h"

namespace {

using coredata::CoordinatorErrorCode;
using coredata::NSManagedObjectContextConcurrencyType;
using coredata::NSMergePolicy;
using coredata::NSPersistentContainer;
using coredata::NSPersistentStoreDescription;
using coredata::StoreErrorCode;
using foundation::Error;
using foundation::make;
using foundation::Ref;
using foundation::URL;
using garden::Bed;
using support::number;

class Containers : public testing::Test {
 protected:
  [[nodiscard]] NSPersistentStoreDescription description(const char* name) const {
    return NSPersistentStoreDescription(URL::fileURL((directory.path() / name).string()));
  }
  /// What the handler was told, in order: the name of the file, and the code of the error or 0.
  using Calls = std::vector<std::pair<std::string, std::int64_t>>;
  Calls load() {
    Calls calls;
    container->loadPersistentStores(
        [&](const NSPersistentStoreDescription& wanted, const std::optional<Error>& error) {
          calls.emplace_back(wanted.url()->lastPathComponent(), error ? error->code() : 0);
        });
    return calls;
  }

  support::TemporaryDirectory directory;
  Ref<NSPersistentContainer> container = make<NSPersistentContainer>("garden", garden::model());
};

TEST_F(Containers, KnowTheirNameModelAndCoordinator) {
  EXPECT_EQ(container->name(), "garden");
  EXPECT_NE(container->managedObjectModel().entity("Bed"), nullptr);
  EXPECT_EQ(container->viewContext()->persistentStoreCoordinator(),
            container->persistentStoreCoordinator());
  EXPECT_EQ(container->newBackgroundContext()->persistentStoreCoordinator(),
            container->persistentStoreCoordinator());
}

TEST_F(Containers, MakeTheViewContextForTheMainQueue) {
  const auto& context = *container->viewContext();

  EXPECT_EQ(context.concurrencyType(), NSManagedObjectContextConcurrencyType::mainQueue);
  EXPECT_EQ(context.name(), std::nullopt);
  EXPECT_EQ(context.transactionAuthor(), std::nullopt);
  EXPECT_EQ(context.mergePolicy(), NSMergePolicy::error);
  EXPECT_FALSE(context.automaticallyMergesChangesFromParent());
}

TEST_F(Containers, MakeBackgroundContextsThatMergeByThemselves) {
  const auto context = container->newBackgroundContext();

  EXPECT_EQ(context->concurrencyType(), NSManagedObjectContextConcurrencyType::privateQueue);
  EXPECT_EQ(context->name(), std::nullopt);
  EXPECT_EQ(context->transactionAuthor(), std::nullopt);
  EXPECT_EQ(context->mergePolicy(), NSMergePolicy::error);
  EXPECT_TRUE(context->automaticallyMergesChangesFromParent());
  EXPECT_NE(context, container->newBackgroundContext());
}

TEST_F(Containers, TellOfEachDescriptionInTurnAndGoOnAfterAFailure) {
  container->setPersistentStoreDescriptions({description("missing/first.sqlite"),
                                             description("second.sqlite"),
                                             description("third.sqlite")});

  EXPECT_EQ(load(), (Calls{{"first.sqlite", number(StoreErrorCode::missingDirectory)},
                           {"second.sqlite", 0},
                           {"third.sqlite", number(CoordinatorErrorCode::alreadyHasStore)}}));

  const auto stores = container->persistentStoreCoordinator()->persistentStores();
  ASSERT_EQ(stores.size(), 1U);
  EXPECT_EQ(stores.front()->url(), description("second.sqlite").url());
}

TEST_F(Containers, HaveAddedTheStoreWhenTheyTellOfIt) {
  container->setPersistentStoreDescriptions({description("garden.sqlite")});
  std::size_t stores = 0;

  container->loadPersistentStores([&](const auto&, const auto&) {
    stores = container->persistentStoreCoordinator()->persistentStores().size();
  });

  EXPECT_EQ(stores, 1U);
}

TEST_F(Containers, CallNobodyWithoutADescription) { EXPECT_EQ(load(), Calls{}); }

TEST_F(Containers, KeepTheOpenStoreWhenTheyLoadAgain) {
  container->setPersistentStoreDescriptions({description("garden.sqlite")});
  load();
  const auto store = container->persistentStoreCoordinator()->store();

  EXPECT_EQ(load(), (Calls{{"garden.sqlite", 0}}));
  EXPECT_EQ(container->persistentStoreCoordinator()->persistentStores(), std::vector{store});
}

TEST_F(Containers, BearANewListOfDescriptionsFromTheHandler) {
  container->setPersistentStoreDescriptions(
      {description("missing/first.sqlite"), description("second.sqlite")});
  std::size_t calls = 0;

  container->loadPersistentStores([&](const auto&, const auto&) {
    ++calls;
    container->setPersistentStoreDescriptions({});
  });

  EXPECT_EQ(calls, 2U);
  EXPECT_TRUE(container->persistentStoreDescriptions().empty());
}

TEST_F(Containers, LetGoOfTheFileWhenTheyDie) {
  container->setPersistentStoreDescriptions({description("garden.sqlite")});
  load();
  const auto engine = container->persistentStoreCoordinator()->store()->engine();

  container = nullptr;

  EXPECT_EQ(support::errorCode([&] { static_cast<void>(engine->metadata()); }),
            number(StoreErrorCode::removed));
}

using ContainersOfOneFile = garden::Test;

TEST_F(ContainersOfOneFile, SeeEachOthersSavesWhenTheyFetch) {
  const auto other = store.opened();
  const auto theirs = other->newBackgroundContext();
  theirs->performBlockAndWait([&] { EXPECT_TRUE(theirs->fetch(Bed::fetchRequest()).empty()); });

  context->performBlockAndWait([&] {
    make<Bed>(*context)->setName("north");
    context->save();
  });

  theirs->performBlockAndWait([&] {
    const auto beds = theirs->fetch(Bed::fetchRequest());
    ASSERT_EQ(beds.size(), 1U);
    EXPECT_EQ(beds[0]->name(), "north");
  });
}

TEST_F(ContainersOfOneFile, MergeNothingOfEachOtherByThemselves) {
  const Ref<Bed> bed = context->performBlockAndWait([&] {
    auto made = make<Bed>(*context);
    made->setName("north");
    context->save();
    return made;
  });
  const auto other = store.opened();
  const auto theirs = other->newBackgroundContext();
  theirs->performBlockAndWait([&] {
    theirs->fetch(Bed::fetchRequest()).first()->setName("south");
    theirs->save();
  });
  settle();

  context->performBlockAndWait([&] {
    EXPECT_EQ(bed->name(), "north");
    context->refresh(bed, true);
    EXPECT_EQ(bed->name(), "south");
  });
}

TEST_F(ContainersOfOneFile, ConflictAsProcessesDo) {
  const Ref<Bed> bed = context->performBlockAndWait([&] {
    auto made = make<Bed>(*context);
    context->save();
    return made;
  });
  const auto other = store.opened();
  const auto theirs = other->newBackgroundContext();
  theirs->performBlockAndWait([&] {
    theirs->fetch(Bed::fetchRequest()).first()->setName("south");
    theirs->save();
  });

  context->performBlockAndWait([&] {
    bed->setName("north");
    EXPECT_THROW(context->save(), Error);
  });
}

TEST_F(ContainersOfOneFile, LeaveTheirContextsInWorkingOrderWhenTheyDie) {
  store.reopen();

  context->performBlockAndWait([&] {
    // The context of before holds on to the coordinator that it was made for.
    make<Bed>(*context)->setName("north");
    EXPECT_NO_THROW(context->save());
  });
  EXPECT_EQ(stored<Bed>(), 1U);
}

TEST_F(ContainersOfOneFile, BringSavesOfSiblingsToTheViewContextOnItsQueue) {
  foundation::MainQueue::declareMainThread();
  const auto view = store.container().viewContext();
  view->setAutomaticallyMergesChangesFromParent(true);
  const Ref<Bed> bed = make<Bed>(*view);
  view->save();

  context->performBlockAndWait([&] {
    in(*context, bed)->setName("north");
    context->save();
  });

  EXPECT_FALSE(bed->name().has_value());
  foundation::drainMainQueue();
  EXPECT_EQ(bed->name(), "north");
}

}  // namespace
