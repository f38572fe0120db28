#include <algorithm>
#include <vector>

#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/StoreVFS.h"
#include "CoreData/SQLite/WriteTransaction.h"
#include "Tests/Support/ErrorCode.h"
#include "Tests/Support/FaultVFS.h"
#include "Tests/Support/GardenTest.h"

// A save that the store fails at any point leaves the context as it was, to be saved again.

namespace {

using coredata::NSManagedObject;
using coredata::StoreErrorCode;
using foundation::make;
using foundation::Ref;
using garden::Bed;
using garden::Label;
using garden::Plant;
using garden::Tool;
using support::FaultVFS;
using support::FileOperation;
using Objects = std::vector<Ref<NSManagedObject>>;

/// A file layer for the stores that are opened while it lives.
struct FaultyDisk {
  FaultVFS vfs;
  coredata::StoreVFSOverride override{vfs.name()};
};

/// A context with one change of each kind over a store on a disk that can be made to fail.
class Allotment {
 public:
  Allotment() {
    context->performBlockAndWait([&] {
      bed = make<Bed>(*context);
      bed->setName("north");
      elm = make<Plant>(*context);
      elm->setBed(bed);
      rake = make<Tool>(*context);
      rake->setName("rake");
      rake->setBed(bed);
      context->save();

      ash = make<Plant>(*context);
      ash->setName("ash");
      ash->setBed(bed);
      label = make<Label>(*context);
      ash->setLabel(label);
      elm->setBed(nullptr);
      bed->setName("south");
      context->delete_(rake);
      context->processPendingChanges();
    });
  }

  void expectUnsaved() const {
    EXPECT_EQ(context->insertedObjects(), (Objects{ash, label}));
    Objects updated = context->updatedObjects();
    EXPECT_EQ(updated.size(), 2U);
    EXPECT_TRUE(std::ranges::find(updated, Ref<NSManagedObject>(bed)) != updated.end());
    EXPECT_TRUE(std::ranges::find(updated, Ref<NSManagedObject>(elm)) != updated.end());
    EXPECT_EQ(context->deletedObjects(), Objects{rake});
    EXPECT_TRUE(ash->objectID()->isTemporaryID());
    EXPECT_TRUE(label->objectID()->isTemporaryID());
    EXPECT_FALSE(bed->objectID()->isTemporaryID());
    EXPECT_TRUE(rake->isDeleted());
    EXPECT_EQ(rake->managedObjectContext(), context);
  }
  void expectValues() const {
    EXPECT_EQ(bed->name(), "south");
    EXPECT_EQ(ash->name(), "ash");
    EXPECT_EQ(ash->bed(), bed);
    EXPECT_EQ(ash->label(), label);
    EXPECT_EQ(label->plant(), ash);
    EXPECT_EQ(elm->bed(), nullptr);
    EXPECT_EQ(bed->plants().count(), 1U);
    EXPECT_TRUE(bed->tools().empty());
  }
  void expectSaved() const {
    EXPECT_FALSE(context->hasChanges());
    EXPECT_FALSE(ash->objectID()->isTemporaryID());
    EXPECT_EQ(rake->managedObjectContext(), nullptr);
    expectValues();
  }
  /// Whether another process finds the changes in the file: all of them or none.
  [[nodiscard]] bool isInStore() const {
    const auto container = store.opened();
    const auto reader = container->newBackgroundContext();
    return reader->performBlockAndWait([&] {
      const bool saved = reader->count(Label::fetchRequest()) != 0;
      EXPECT_EQ(reader->count(Label::fetchRequest()), saved ? 1 : 0);
      EXPECT_EQ(reader->count(Plant::fetchRequest()), saved ? 2 : 1);
      EXPECT_EQ(reader->count(Tool::fetchRequest()), saved ? 0 : 1);
      const Ref<Bed> found = reader->fetch(Bed::fetchRequest()).first();
      EXPECT_EQ(found->name(), saved ? "south" : "north");
      EXPECT_EQ(found->plants().count(), 1U);
      EXPECT_EQ(found->plants().at(0)->name(),
                saved ? std::optional<std::string>("ash") : std::nullopt);
      return saved;
    });
  }

  garden::Store store;
  Ref<coredata::NSManagedObjectContext> context = store.newContext();
  Ref<Bed> bed;
  Ref<Plant> elm;
  Ref<Plant> ash;
  Ref<Label> label;
  Ref<Tool> rake;
};

class ContextSaveFailures : public testing::TestWithParam<std::tuple<int, bool>> {};

TEST_P(ContextSaveFailures, LeaveTheChangesToBeSavedAgain) {
  const auto [code, persistent] = GetParam();
  std::size_t undone = 0;
  std::size_t done = 0;
  bool reached = true;
  for (std::size_t point = 1; reached && !HasFailure(); ++point) {
    SCOPED_TRACE("operation " + std::to_string(point));
    FaultyDisk disk;
    const Allotment allotment;
    disk.vfs.reset();
    disk.vfs.failAt(point, code, persistent);

    bool failed = false;
    allotment.context->performBlockAndWait([&] {
      try {
        allotment.context->save();
      } catch (const foundation::Error& error) {
        failed = true;
        EXPECT_FALSE(error.message().empty());
        allotment.expectUnsaved();
      }
    });
    reached = disk.vfs.faultWasReached();
    disk.vfs.reset();
    if (failed && allotment.isInStore()) {
      // Where the disk confirms neither the commit nor what would undo it, only a look at the file
      // tells.
      EXPECT_TRUE(persistent);
      ++done;
      continue;
    }
    allotment.context->performBlockAndWait([&] {
      allotment.expectValues();
      if (failed) allotment.context->save();
      allotment.expectSaved();
    });
    EXPECT_TRUE(allotment.isInStore());
    if (failed) ++undone;
  }
  EXPECT_GT(undone, 3U);
  EXPECT_LE(done, 1U);
}

INSTANTIATE_TEST_SUITE_P(Disks, ContextSaveFailures,
                         testing::Values(std::tuple(SQLITE_IOERR, false),
                                         std::tuple(SQLITE_IOERR, true),
                                         std::tuple(SQLITE_FULL, false)));

TEST(ContextSaveFailure, LeavesTheStoreAsItWas) {
  FaultyDisk disk;
  const Allotment allotment;
  disk.vfs.reset();
  disk.vfs.watch(support::bit(FileOperation::write));
  disk.vfs.failAt(1, SQLITE_FULL);

  allotment.context->performBlockAndWait(
      [&] { EXPECT_EQ(support::errorCode([&] { allotment.context->save(); }), SQLITE_FULL); });

  disk.vfs.reset();
  EXPECT_FALSE(allotment.isInStore());
}

TEST(ContextSaveFailure, EndsTheWaitForAnotherWriterWithAnError) {
  FaultyDisk disk;
  const Allotment allotment;
  disk.vfs.skipWaits();
  const auto other = allotment.store.opened();
  {
    coredata::ReadSession session(other->persistentStoreCoordinator()->store()->engine());
    const coredata::WriteTransaction writing(session);

    allotment.context->performBlockAndWait([&] {
      EXPECT_EQ(support::errorCode([&] { allotment.context->save(); }),
                support::number(StoreErrorCode::busy));
      allotment.expectUnsaved();
      allotment.expectValues();
    });
  }

  allotment.context->performBlockAndWait([&] {
    EXPECT_NO_THROW(allotment.context->save());
    allotment.expectSaved();
  });
  EXPECT_TRUE(allotment.isInStore());
}

TEST(ContextSaveFailure, CanBeFollowedByOtherChanges) {
  FaultyDisk disk;
  const Allotment allotment;
  disk.vfs.reset();
  disk.vfs.watch(support::bit(FileOperation::write));
  disk.vfs.failAt(1, SQLITE_IOERR_WRITE);

  allotment.context->performBlockAndWait([&] {
    EXPECT_THROW(allotment.context->save(), foundation::Error);
    disk.vfs.reset();
    allotment.ash->setName("oak");
    allotment.context->delete_(allotment.label);
    EXPECT_NO_THROW(allotment.context->save());
    EXPECT_EQ(allotment.ash->name(), "oak");
    EXPECT_EQ(allotment.ash->label(), nullptr);
    EXPECT_EQ(allotment.context->count(Label::fetchRequest()), 0);
  });
}

TEST(ContextSaveFailure, CanBeRolledBack) {
  FaultyDisk disk;
  const Allotment allotment;
  disk.vfs.reset();
  disk.vfs.watch(support::bit(FileOperation::write));
  disk.vfs.failAt(1, SQLITE_IOERR_WRITE);

  allotment.context->performBlockAndWait([&] {
    EXPECT_THROW(allotment.context->save(), foundation::Error);
    disk.vfs.reset();
    allotment.context->rollback();
    EXPECT_FALSE(allotment.context->hasChanges());
    EXPECT_EQ(allotment.bed->name(), "north");
    EXPECT_EQ(allotment.elm->bed(), allotment.bed);
    EXPECT_FALSE(allotment.rake->isDeleted());
    EXPECT_NO_THROW(allotment.context->save());
  });
  EXPECT_FALSE(allotment.isInStore());
}

}  // namespace
