#include <gmock/gmock.h>

#include "CoreData/Context/SaveError.h"
#include "CoreData/Coordinator/StoreError.h"
#include "CoreData/Fetching/FetchError.h"
#include "CoreData/Fetching/NSBatchDeleteRequest.h"
#include "CoreData/Model/ModelBuilder.h"
#include "CoreData/SQLite/StoreVFS.h"
#include "Foundation/Notifications/NSNotificationCenter.h"
#include "Foundation/Predicate/PredicateTemplate.h"
#include "Tests/CoreData/SQLite/StoreFixture.h"
#include "Tests/Support/ErrorCode.h"
#include "Tests/Support/FaultVFS.h"
#include "Tests/Support/GardenTest.h"

namespace {

using coredata::NSBatchDeleteRequest;
using coredata::NSBatchDeleteRequestResultType;
using coredata::NSFetchRequest;
using coredata::NSFetchRequestBase;
using coredata::NSManagedObjectContext;
using coredata::SaveErrorCode;
using foundation::make;
using foundation::PredicateTemplate;
using foundation::Ref;
using garden::Bed;
using garden::Handle;
using garden::Label;
using garden::Plant;
using garden::Tool;
using support::errorCode;
using support::number;
using testing::ElementsAre;

/// Deletes in the store what the request finds, and tells how many of its entity that were.
std::int64_t deleteAll(NSManagedObjectContext& context, const NSFetchRequestBase& request) {
  NSBatchDeleteRequest batch(request);
  batch.setResultType(NSBatchDeleteRequestResultType::count);
  return context.execute(batch).count.value();
}

NSFetchRequest<Plant> plantsNamed(const char* name) {
  static constinit PredicateTemplate ofName{"name = %@"};
  auto request = Plant::fetchRequest();
  request.setPredicate(ofName.bind(name));
  return request;
}

class ContextBatchDeleting : public garden::Test {
 protected:
  Ref<Plant> savedPlant(const char* name, const Ref<Bed>& bed = nullptr) const {
    auto plant = make<Plant>(*context);
    plant->setName(name);
    plant->setBed(bed);
    context->save();
    return plant;
  }
  Ref<Tool> savedTool(const char* name, const Ref<Bed>& bed = nullptr) const {
    auto tool = make<Tool>(*context);
    tool->setName(name);
    tool->setBed(bed);
    context->save();
    return tool;
  }
  std::int64_t deleteAll(const NSFetchRequestBase& request) const {
    return ::deleteAll(*context, request);
  }
  /// What the file holds, as a person with a shell finds it.
  [[nodiscard]] std::vector<std::string> query(const std::string& sql) const {
    return shelf::query((store.directory() / "garden.sqlite").string(), sql);
  }
  /// What the last transaction of the history did, in the order of its changes.
  [[nodiscard]] std::vector<std::string> lastChanges() const {
    return query(
        "SELECT n.text, c.key, c.kind, c.changed FROM _change c JOIN _name n ON n.id = c.entity "
        "WHERE c.\"transaction\" = (SELECT max(number) FROM _transaction) ORDER BY c.sequence");
  }
};

TEST_F(ContextBatchDeleting, DeletesWhatTheRequestFindsAndCountsIt) {
  context->performBlockAndWait([&] {
    for (const char* name : {"ash", "elm", "ash"}) savedPlant(name);

    EXPECT_EQ(deleteAll(plantsNamed("ash")), 2);

    EXPECT_EQ(context->count(Plant::fetchRequest()), 1);
    EXPECT_EQ(context->fetch(Plant::fetchRequest()).first()->name(), "elm");
  });
  EXPECT_EQ(stored<Plant>(), 1U);
}

TEST_F(ContextBatchDeleting, DeletesEverythingWithoutAPredicate) {
  context->performBlockAndWait([&] {
    for (int i = 0; i < 100; ++i) static_cast<void>(make<Plant>(*context));
    context->save();

    EXPECT_EQ(deleteAll(Plant::fetchRequest()), 100);
    EXPECT_EQ(deleteAll(Plant::fetchRequest()), 0);
  });
  EXPECT_EQ(stored<Plant>(), 0U);
}

TEST_F(ContextBatchDeleting, TellsNoCountUnlessAsked) {
  context->performBlockAndWait([&] {
    savedPlant("ash");

    EXPECT_FALSE(context->execute(NSBatchDeleteRequest(Plant::fetchRequest())).count.has_value());

    EXPECT_EQ(context->count(Plant::fetchRequest()), 0);
  });
}

TEST_F(ContextBatchDeleting, KeepsToTheRequestsOrderLimitAndOffset) {
  context->performBlockAndWait([&] {
    for (const char* name : {"d", "a", "c", "b"}) savedPlant(name);
    auto request = Plant::fetchRequest();
    request.setSortDescriptors({{"name", true}});
    request.setFetchOffset(1);
    request.setFetchLimit(2);

    EXPECT_EQ(deleteAll(request), 2);
  });
  EXPECT_THAT(query("SELECT name FROM Plant ORDER BY name"), ElementsAre("a", "d"));
}

TEST_F(ContextBatchDeleting, TakesAlongWhatTheRulesSayAndCountsTheRequestedEntityAlone) {
  context->performBlockAndWait([&] {
    const auto bed = make<Bed>(*context);
    const auto other = make<Bed>(*context);
    savedPlant("ash", bed)->setLabel(make<Label>(*context));
    savedPlant("elm", bed);
    savedPlant("oak", other)->setLabel(make<Label>(*context));
    context->save();
    auto first = Bed::fetchRequest();
    first.setFetchLimit(1);

    EXPECT_EQ(deleteAll(first), 1);
  });
  EXPECT_EQ(stored<Bed>(), 1U);
  EXPECT_THAT(query("SELECT name FROM Plant"), ElementsAre("oak"));
  EXPECT_EQ(stored<Label>(), 1U);
}

TEST_F(ContextBatchDeleting, ClearsWhatLedToTheDeleted) {
  context->performBlockAndWait([&] {
    const auto bed = make<Bed>(*context);
    savedTool("rake", bed);
    savedTool("hoe", bed);
    savedTool("spade", make<Bed>(*context));
    auto first = Bed::fetchRequest();
    first.setFetchLimit(1);

    deleteAll(first);
  });
  EXPECT_THAT(query("SELECT name FROM Tool WHERE bed IS NULL ORDER BY name"),
              ElementsAre("hoe", "rake"));
  EXPECT_THAT(query("SELECT name FROM Tool WHERE bed = (SELECT _id FROM Bed)"),
              ElementsAre("spade"));
}

TEST_F(ContextBatchDeleting, ClearsTheOtherSideOfAOneToOne) {
  context->performBlockAndWait([&] {
    savedPlant("ash")->setLabel(make<Label>(*context));
    context->save();

    EXPECT_EQ(deleteAll(Label::fetchRequest()), 1);
  });
  EXPECT_THAT(query("SELECT name, label IS NULL FROM Plant"), ElementsAre("ash|1"));
}

TEST_F(ContextBatchDeleting, IsRefusedAsAWholeByARuleThatDenies) {
  context->performBlockAndWait([&] {
    savedTool("rake");
    const auto handle = make<Handle>(*context);
    handle->setTool(savedTool("hoe"));
    context->save();

    EXPECT_EQ(errorCode([&] { deleteAll(Tool::fetchRequest()); }),
              number(SaveErrorCode::deletionDenied));
  });
  EXPECT_EQ(stored<Tool>(), 2U);
  EXPECT_EQ(stored<Handle>(), 1U);
}

TEST_F(ContextBatchDeleting, IsAllowedAgainOnceNothingDeniesIt) {
  context->performBlockAndWait([&] {
    make<Handle>(*context)->setTool(savedTool("hoe"));
    context->save();
    deleteAll(Handle::fetchRequest());

    EXPECT_EQ(deleteAll(Tool::fetchRequest()), 1);
  });
}

TEST_F(ContextBatchDeleting, JudgesByTheStoreAndNotByWhatIsPending) {
  context->performBlockAndWait([&] {
    const auto renamed = savedPlant("ash");
    const auto called = savedPlant("elm");
    renamed->setName("elm");
    called->setName("ash");
    const auto inserted = make<Plant>(*context);
    inserted->setName("ash");

    EXPECT_EQ(deleteAll(plantsNamed("ash")), 1);

    EXPECT_TRUE(inserted->isInserted());
    EXPECT_TRUE(renamed->isUpdated());
    EXPECT_TRUE(called->isUpdated());
  });
  EXPECT_THAT(query("SELECT name FROM Plant"), ElementsAre("elm"));
}

TEST_F(ContextBatchDeleting, FindsNothingOfAnObjectThatWasNeverSaved) {
  context->performBlockAndWait([&] {
    savedPlant("ash");
    static constinit PredicateTemplate ofBed{"bed = %@"};
    auto request = Plant::fetchRequest();
    request.setPredicate(ofBed.bind(make<Bed>(*context)));

    EXPECT_EQ(deleteAll(request), 0);
  });
  EXPECT_EQ(stored<Plant>(), 1U);
}

TEST_F(ContextBatchDeleting, LeavesLiveObjectsAsTheyAreUntilTheyAreRefreshed) {
  context->performBlockAndWait([&] {
    const auto bed = make<Bed>(*context);
    const auto plant = savedPlant("ash", bed);
    ASSERT_EQ(bed->plants().count(), 1U);

    deleteAll(Plant::fetchRequest());

    EXPECT_FALSE(context->hasChanges());
    EXPECT_FALSE(plant->isDeleted());
    EXPECT_EQ(plant->name(), "ash");
    EXPECT_EQ(bed->plants().count(), 1U);
    context->refreshAllObjects();
    EXPECT_TRUE(plant->isDeleted());
    EXPECT_EQ(bed->plants().count(), 0U);
  });
}

TEST_F(ContextBatchDeleting, TellsNoOtherContext) {
  const auto other = store.newContext();
  other->setAutomaticallyMergesChangesFromParent(true);
  int saves = 0;
  const auto token = foundation::NSNotificationCenter::defaultCenter().addObserver(
      NSManagedObjectContext::didSaveNotification(), nullptr,
      [&](const foundation::NSNotification&) { ++saves; });
  context->performBlockAndWait([&] { savedPlant("ash"); });
  ASSERT_EQ(saves, 1);
  Ref<Plant> theirs;
  other->performBlockAndWait([&] {
    theirs = other->fetch(Plant::fetchRequest()).first();
    ASSERT_EQ(theirs->name(), "ash");
  });

  context->performBlockAndWait([&] { deleteAll(Plant::fetchRequest()); });

  EXPECT_EQ(saves, 1);
  other->performBlockAndWait([&] {
    EXPECT_EQ(theirs->name(), "ash");
    EXPECT_FALSE(theirs->isDeleted());
    EXPECT_EQ(other->count(Plant::fetchRequest()), 0);
  });
}

TEST_F(ContextBatchDeleting, LeavesNoDeletedRowToBeReadAgain) {
  const auto other = store.newContext();
  Ref<Plant> plant;
  Ref<Tool> tool;
  context->performBlockAndWait([&] {
    const auto bed = make<Bed>(*context);
    plant = savedPlant("ash", bed);
    tool = savedTool("rake", bed);

    deleteAll(Bed::fetchRequest());
  });

  other->performBlockAndWait([&] {
    const auto theirs = in(*other, plant);
    const auto rake = in(*other, tool);
    EXPECT_FALSE(theirs->name().has_value());
    EXPECT_TRUE(theirs->isDeleted());
    EXPECT_EQ(rake->name(), "rake");
    EXPECT_EQ(rake->bed(), nullptr);
  });
}

TEST_F(ContextBatchDeleting, ConflictsWithChangesOfWhatItDeletedOrCleared) {
  context->performBlockAndWait([&] {
    const auto bed = make<Bed>(*context);
    const auto plant = savedPlant("ash", bed);
    const auto tool = savedTool("rake", bed);
    ::deleteAll(*context, Bed::fetchRequest());

    plant->setName("elm");
    EXPECT_EQ(errorCode([&] { context->save(); }), number(SaveErrorCode::conflict));
    context->rollback();
    tool->setName("hoe");
    EXPECT_EQ(errorCode([&] { context->save(); }), number(SaveErrorCode::conflict));
  });
}

TEST_F(ContextBatchDeleting, GivesNoKeyOutAgain) {
  context->performBlockAndWait([&] {
    savedPlant("ash");
    savedPlant("elm");
    deleteAll(Plant::fetchRequest());
  });
  store.reopen();
  const auto later = store.newContext();
  later->performBlockAndWait([&] {
    static_cast<void>(make<Plant>(*later));
    later->save();
  });

  EXPECT_THAT(query("SELECT _id FROM Plant"), ElementsAre("3"));
}

TEST_F(ContextBatchDeleting, IsOneTransactionOfTheHistoryUnderTheContextsAuthor) {
  context->performBlockAndWait([&] {
    const auto bed = make<Bed>(*context);
    savedPlant("ash", bed);
    savedTool("rake", bed);
    context->setTransactionAuthor("gardener");
    context->setName("shed");

    deleteAll(Bed::fetchRequest());
  });

  EXPECT_THAT(
      query("SELECT t.number, a.text, c.text FROM _transaction t JOIN _name a ON a.id = t.author "
            "JOIN _name c ON c.id = t.contextName"),
      ElementsAre("3|gardener|shed"));
  // The tool's only reference is its first column.
  EXPECT_THAT(lastChanges(), ElementsAre("Bed|1|2|", "Plant|1|2|", "Tool|1|1|1"));
}

TEST_F(ContextBatchDeleting, LeavesNoTraceWhenNothingIsFound) {
  context->performBlockAndWait([&] {
    savedPlant("ash");

    EXPECT_EQ(deleteAll(plantsNamed("elm")), 0);
  });
  EXPECT_THAT(query("SELECT count(*) FROM _transaction"), ElementsAre("1"));
}

TEST_F(ContextBatchDeleting, FindsWhatOthersWroteSinceItsBlockBegan) {
  context->performBlockAndWait([&] {
    EXPECT_EQ(context->count(Plant::fetchRequest()), 0);
    const auto other = store.newContext();
    other->performBlockAndWait([&] {
      static_cast<void>(make<Plant>(*other));
      other->save();
    });

    EXPECT_EQ(deleteAll(Plant::fetchRequest()), 1);
  });
}

TEST_F(ContextBatchDeleting, ThrowsForARequestThatMakesNoSense) {
  context->performBlockAndWait([&] {
    savedPlant("ash");

    EXPECT_THROW(deleteAll(NSFetchRequestBase("Weed")), foundation::Error);
    auto unknown = Plant::fetchRequest();
    unknown.setPredicate(foundation::NSPredicate::format("colour = 1"));
    EXPECT_THROW(deleteAll(unknown), foundation::Error);
  });
  EXPECT_EQ(stored<Plant>(), 1U);
}

TEST_F(ContextBatchDeleting, ThrowsWithoutAStore) {
  const auto container = make<coredata::NSPersistentContainer>("garden", garden::model());
  const auto loose = container->newBackgroundContext();

  loose->performBlockAndWait([&] {
    EXPECT_EQ(errorCode([&] { ::deleteAll(*loose, Plant::fetchRequest()); }),
              number(coredata::CoordinatorErrorCode::noStore));
  });
}

// A rule that denies, a reference that must not be absent, an entity that leads to itself, and
// references that nothing leads back to.
Ref<coredata::NSManagedObjectModel> strictModel() {
  return coredata::modelFromSource(R"({
    "entities": {
      "Album": {
        "relationships": {
          "pages": {"toMany": "Page", "inverse": "album", "deleteRule": "cascade"},
          "covers": {"toMany": "Cover", "inverse": "album"},
          "clips": {"toMany": "Clip", "inverse": "album", "deleteRule": "cascade"},
          "marks": {"toMany": "Mark", "inverse": "album", "deleteRule": "noAction"}
        }
      },
      "Page": {
        "relationships": {
          "album": {"toOne": "Album", "inverse": "pages"},
          "clips": {"toMany": "Clip", "inverse": "page", "deleteRule": "deny"},
          "next": {"toOne": "Page", "inverse": "previous", "deleteRule": "cascade"},
          "previous": {"toOne": "Page", "inverse": "next"}
        }
      },
      "Clip": {
        "relationships": {
          "album": {"toOne": "Album", "inverse": "clips"},
          "page": {"toOne": "Page", "inverse": "clips"}
        }
      },
      "Cover": {
        "relationships": {"album": {"toOne": "Album", "inverse": "covers", "required": true}}
      },
      "Mark": {
        "relationships": {"album": {"toOne": "Album", "inverse": "marks"}}
      }
    }
  })");
}

class StrictBatchDeleting : public testing::Test {
 protected:
  StrictBatchDeleting() {
    container_->setPersistentStoreDescriptions({coredata::NSPersistentStoreDescription(
        foundation::URL::fileURL((directory_.path() / "strict.sqlite").string()))});
    container_->loadPersistentStores(
        [](const auto&, const std::optional<foundation::Error>& error) { ASSERT_FALSE(error); });
  }
  Ref<coredata::NSManagedObject> add(
      const char* entity,
      std::initializer_list<std::pair<const char*, foundation::Value>> values = {}) const {
    auto object = context_->insertNewObject(entity);
    for (const auto& [key, value] : values) object->setValue(value, key);
    context_->save();
    return object;
  }
  std::int64_t deleteAll(const char* entity, std::size_t limit = 0) const {
    NSFetchRequestBase request(entity);
    request.setFetchLimit(limit);
    return ::deleteAll(*context_, request);
  }
  [[nodiscard]] std::int64_t count(const char* entity) const {
    return context_->count(NSFetchRequestBase(entity));
  }

  support::TemporaryDirectory directory_;
  Ref<coredata::NSPersistentContainer> container_ =
      make<coredata::NSPersistentContainer>("Strict", strictModel());
  Ref<NSManagedObjectContext> context_ = container_->viewContext();
};

TEST_F(StrictBatchDeleting, IsRefusedAsAWholeByAReferenceThatMustNotBeAbsent) {
  const auto album = add("Album");
  add("Cover", {{"album", album}});
  add("Page", {{"album", album}});

  EXPECT_EQ(errorCode([&] { deleteAll("Album"); }),
            number(SaveErrorCode::missingMandatoryProperty));

  EXPECT_EQ(count("Album"), 1);
  EXPECT_EQ(count("Page"), 1);
}

TEST_F(StrictBatchDeleting, IsNotDeniedByWhatGoesTooOnAnotherWay) {
  const auto album = add("Album");
  const auto page = add("Page", {{"album", album}});
  add("Clip", {{"album", album}, {"page", page}});

  EXPECT_EQ(errorCode([&] { deleteAll("Page"); }), number(SaveErrorCode::deletionDenied));
  EXPECT_EQ(deleteAll("Album"), 1);

  EXPECT_EQ(count("Page"), 0);
  EXPECT_EQ(count("Clip"), 0);
}

TEST_F(StrictBatchDeleting, CountsWhatWasTakenAlongOfItsOwnEntity) {
  const auto last = add("Page");
  const auto middle = add("Page", {{"next", last}});
  add("Page", {{"next", middle}});
  add("Page");
  NSFetchRequestBase first("Page");
  first.setPredicate(foundation::NSPredicate::format("previous = nil AND next != nil"));

  EXPECT_EQ(::deleteAll(*context_, first), 3);

  EXPECT_EQ(count("Page"), 1);
}

TEST_F(StrictBatchDeleting, EndsWhereObjectsLeadToEachOtherInACircle) {
  const auto one = add("Page");
  const auto two = add("Page", {{"next", one}});
  one->setValue(two, "next");
  context_->save();

  EXPECT_EQ(deleteAll("Page", 1), 2);
}

TEST_F(StrictBatchDeleting, LeavesAReferenceAloneThatNoRuleSpeaksOf) {
  add("Mark", {{"album", add("Album")}});

  EXPECT_EQ(deleteAll("Album"), 1);

  EXPECT_THAT(
      shelf::query((directory_.path() / "strict.sqlite").string(), "SELECT album FROM Mark"),
      ElementsAre("1"));
}

// A store that fails at any point has all of a batch delete or none of it.
TEST(ContextBatchDeletingFailures, LeaveTheStoreAsItWasOrAsItWasToBe) {
  bool reached = true;
  for (std::size_t point = 1; reached && !testing::Test::HasFailure(); ++point) {
    SCOPED_TRACE("operation " + std::to_string(point));
    support::FaultVFS vfs;
    const coredata::StoreVFSOverride override{vfs.name()};
    const garden::Store store;
    const auto context = store.newContext();
    context->performBlockAndWait([&] {
      const auto bed = make<Bed>(*context);
      for (int i = 0; i < 3; ++i) {
        const auto plant = make<Plant>(*context);
        plant->setBed(bed);
        plant->setLabel(make<Label>(*context));
      }
      const auto rake = make<Tool>(*context);
      rake->setName("rake");
      rake->setBed(bed);
      context->save();
    });

    vfs.reset();
    vfs.watch(support::kEverything);
    vfs.failAt(point, SQLITE_IOERR);
    bool failed = false;
    context->performBlockAndWait([&] {
      try {
        EXPECT_EQ(deleteAll(*context, Bed::fetchRequest()), 1);
      } catch (const foundation::Error& error) {
        EXPECT_EQ(error.domain(), foundation::kSQLiteErrorDomain);
        failed = true;
      }
    });
    reached = vfs.faultWasReached();
    vfs.reset();

    const auto reader = store.opened()->newBackgroundContext();
    reader->performBlockAndWait([&] {
      const std::int64_t beds = reader->count(Bed::fetchRequest());
      EXPECT_TRUE(failed || beds == 0);
      EXPECT_EQ(reader->count(Plant::fetchRequest()), 3 * beds);
      EXPECT_EQ(reader->count(Label::fetchRequest()), 3 * beds);
      const auto rake = reader->fetch(Tool::fetchRequest()).first();
      EXPECT_EQ(rake->bed() != nullptr, beds == 1);
    });
    context->performBlockAndWait([&] { deleteAll(*context, Bed::fetchRequest()); });
    reader->performBlockAndWait([&] { EXPECT_EQ(reader->count(Bed::fetchRequest()), 0); });
  }
}

}  // namespace
