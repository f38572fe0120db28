#include <gtest/gtest.h>

#include <stdexcept>

#include "CoreData/Container/NSPersistentContainer.h"
#include "CoreData/Model/ModelBuilder.h"
#include "CoreData/Object/ManagedObjectProperties.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace {

using coredata::EntityClass;
using coredata::NSManagedObject;
using coredata::NSManagedObjectContext;
using coredata::ObjectSeed;
using foundation::make;
using foundation::Ref;

struct Frost : std::runtime_error {
  Frost() : std::runtime_error("frost") {}
};

class Seedling;

class Tray final : public NSManagedObject {
  CD_ENTITY(Tray, "Tray")
  CD_TO_MANY(Seedling, seedlings, setSeedlings, addSeedlingsObject, removeSeedlingsObject)
  CD_TO_ONE(Seedling, tallest, setTallest)
};

/// Dies of frost while it is being made.
class Seedling final : public NSManagedObject {
  CD_ENTITY(Seedling, "Seedling")
  CD_TEXT(name, setName)
  CD_TO_ONE(Tray, tray, setTray)
  CD_TO_ONE(Tray, leads, setLeads)

  /// Sown alone: the constructor of the base is all that has run.
  Seedling(NSManagedObjectContext& context, const std::string& name)
      : NSManagedObject(context.entity(entityClass()), &context) {
    setName(name);
    throw Frost();
  }
  /// Sown in a tray.
  Seedling(NSManagedObjectContext& context, const Ref<Tray>& tray) : Seedling(context) {
    setTray(tray);
    setLeads(tray);
    throw Frost();
  }
};

/// Can be made where the weather allows.
class Egg final : public NSManagedObject {
 public:
  inline static bool isFreezing = false;

  explicit Egg(ObjectSeed seed) : NSManagedObject(std::move(seed)) {
    if (isFreezing) throw Frost();
  }
  static const EntityClass& entityClass() {
    static const auto* const instance = new EntityClass(
        "Egg", "Egg", [](ObjectSeed seed) -> NSManagedObject* { return new Egg(std::move(seed)); });
    return *instance;
  }
};

class ThrowingConstructors : public testing::Test {
 protected:
  void SetUp() override {
    static_cast<void>(Egg::entityClass());
    container = make<coredata::NSPersistentContainer>("nursery", coredata::modelFromSource(R"({
      "entities": {
        "Egg": {"class": "Egg", "attributes": {"name": "text"}},
        "Seedling": {
          "class": "Seedling",
          "attributes": {"name": "text"},
          "relationships": {"tray": {"toOne": "Tray", "inverse": "seedlings"},
                            "leads": {"toOne": "Tray", "inverse": "tallest"}},
          "indexes": {"byTray": ["tray"]}
        },
        "Tray": {
          "class": "Tray",
          "relationships": {
            "seedlings": {"toMany": "Seedling", "inverse": "tray", "deleteRule": "cascade"},
            "tallest": {"toOne": "Seedling", "inverse": "leads"}
          }
        }
      }
    })"));
    container->setPersistentStoreDescriptions({coredata::NSPersistentStoreDescription(
        foundation::URL::fileURL((directory.path() / "nursery.sqlite").string()))});
    container->loadPersistentStores([](const auto&, const auto& error) {
      if (error) error->raise();
    });
    context = container->newBackgroundContext();
  }
  void TearDown() override { Egg::isFreezing = false; }

  support::TemporaryDirectory directory;
  Ref<coredata::NSPersistentContainer> container;
  Ref<NSManagedObjectContext> context;
};

TEST_F(ThrowingConstructors, LeaveNoObjectBehind) {
  context->performBlockAndWait([&] {
    EXPECT_THROW(static_cast<void>(make<Seedling>(*context, std::string("basil"))), Frost);

    EXPECT_FALSE(context->hasChanges());
    EXPECT_TRUE(context->insertedObjects().empty());
    EXPECT_TRUE(context->registeredObjects().empty());
    EXPECT_EQ(context->count(Seedling::fetchRequest()), 0);
    context->save();
    EXPECT_EQ(context->count(Seedling::fetchRequest()), 0);
  });
}

TEST_F(ThrowingConstructors, LeaveOtherNewObjectsAlone) {
  context->performBlockAndWait([&] {
    const auto before = make<Seedling>(*context);
    EXPECT_THROW(static_cast<void>(make<Seedling>(*context, std::string("basil"))), Frost);
    const auto after = make<Seedling>(*context);

    EXPECT_EQ(context->insertedObjects().size(), 2U);
    context->save();
    EXPECT_EQ(context->count(Seedling::fetchRequest()), 2);
    EXPECT_FALSE(before->objectID()->isTemporaryID());
    EXPECT_FALSE(after->objectID()->isTemporaryID());
  });
}

TEST_F(ThrowingConstructors, TakeTheObjectOutOfItsRelationships) {
  context->performBlockAndWait([&] {
    const auto tray = make<Tray>(*context);
    context->save();

    EXPECT_THROW(static_cast<void>(make<Seedling>(*context, tray)), Frost);

    EXPECT_TRUE(tray->seedlings().empty());
    EXPECT_EQ(tray->tallest(), nullptr);
    context->save();
    context->refresh(tray, false);
    EXPECT_TRUE(tray->seedlings().empty());
    EXPECT_EQ(tray->tallest(), nullptr);
    EXPECT_EQ(context->count(Seedling::fetchRequest()), 0);
  });
}

TEST_F(ThrowingConstructors, LeaveRoomForTheObjectWhenItIsLoadedLater) {
  context->performBlockAndWait([&] {
    context->insertNewObject("Egg")->setValue("blue", "name");
    context->save();
    coredata::NSFetchRequest<NSManagedObject> request("Egg");
    const auto eggs = context->fetch(request);

    Egg::isFreezing = true;
    EXPECT_THROW(static_cast<void>(eggs[0]), Frost);
    EXPECT_TRUE(context->registeredObjects().empty());
    Egg::isFreezing = false;

    EXPECT_EQ(eggs[0]->valueForKey("name"), foundation::Value("blue"));
  });
}

TEST_F(ThrowingConstructors, InsertNothing) {
  context->performBlockAndWait([&] {
    Egg::isFreezing = true;
    EXPECT_THROW(context->insertNewObject("Egg"), Frost);

    EXPECT_FALSE(context->hasChanges());
    EXPECT_TRUE(context->registeredObjects().empty());
  });
}

}  // namespace
