#include "CoreDataStack/Stack/CoreDataStack.h"

#include "CoreData/Container/NSPersistentCloudKitContainer.h"
#include "CoreDataStack/History/PersistentHistoryObserver.h"
#include "CoreDataStack/Model/CDActivity.h"
#include "CoreDataStack/Model/CDCheckin.h"
#include "Foundation/Values/WeakRef.h"
#include "Tests/CoreDataStack/Stack/StackPlace.h"

namespace {

using coredata::NSManagedObjectContext;
using coredata::NSPersistentCloudKitContainer;
using coredatastack::CDActivity;
using coredatastack::CDCheckin;
using coredatastack::CoreDataConfiguration;
using coredatastack::SyncEvent;
using foundation::make;
using foundation::Ref;

class CoreDataStack : public support::StackPlace {
 protected:
  /// The identifier of a saved activity, as a text.
  static std::string savedActivity(Stack& stack) {
    const auto& context = stack.managedObjectContext();
    const auto activity = make<CDActivity>(*context);
    context->save();
    return activity->objectID()->uriRepresentation().absoluteString();
  }
};

TEST_F(CoreDataStack, IsMadeWithoutTouchingTheDisk) {
  const auto made = stack();

  EXPECT_FALSE(std::filesystem::exists(*place_.storeURL().filePath()));
  EXPECT_FALSE(std::filesystem::exists(place_.directory() / "homes"));
  EXPECT_TRUE(made->persistentStoreCoordinator()->persistentStores().empty());
}

TEST_F(CoreDataStack, ChoosesItsContainerByTheStage) {
  const auto isMirrored = [&](Stage stage) {
    return foundation::as<NSPersistentCloudKitContainer>(stack(stage)->persistentContainer()) !=
           nullptr;
  };

  EXPECT_TRUE(isMirrored(Stage::production));
  EXPECT_FALSE(isMirrored(Stage::extensions));
  EXPECT_FALSE(isMirrored(Stage::temp));
  EXPECT_FALSE(isMirrored(Stage::inMemory));
}

TEST_F(CoreDataStack, MakesItsPartsOnce) {
  const auto made = stack();

  EXPECT_EQ(made->managedObjectModel(), made->managedObjectModel());
  EXPECT_EQ(made->persistentContainer(), made->persistentContainer());
  EXPECT_EQ(made->managedObjectContext(), made->managedObjectContext());
  EXPECT_EQ(&made->persistentContainer()->managedObjectModel(), made->managedObjectModel().get());
  EXPECT_EQ(made->persistentStoreCoordinator(),
            made->persistentContainer()->persistentStoreCoordinator());
}

TEST_F(CoreDataStack, ReplacesWhatIsSetAndNothingElse) {
  const auto made = stack();
  const auto other = stack();
  const auto container = made->persistentContainer();

  made->setManagedObjectModel(other->managedObjectModel());
  EXPECT_EQ(made->managedObjectModel(), other->managedObjectModel());
  EXPECT_EQ(made->persistentContainer(), container);

  made->setManagedObjectContext(other->managedObjectContext());
  EXPECT_EQ(made->managedObjectContext(), other->managedObjectContext());

  made->setPersistentContainer(other->persistentContainer());
  EXPECT_EQ(made->persistentContainer(), other->persistentContainer());
}

TEST_F(CoreDataStack, ConfiguresTheViewContextWhenItIsFirstRead) {
  const auto made = stack();
  const auto& view = made->persistentContainer()->viewContext();
  EXPECT_EQ(view->transactionAuthor(), std::nullopt);

  const auto& context = made->managedObjectContext();

  EXPECT_EQ(context, view);
  EXPECT_EQ(context->transactionAuthor(), "app");
  EXPECT_EQ(context->name(), std::nullopt);
  EXPECT_EQ(context->mergePolicy(), coredata::NSMergeByPropertyObjectTrumpMergePolicy);
  EXPECT_TRUE(context->automaticallyMergesChangesFromParent());
}

TEST_F(CoreDataStack, GivesANewBackgroundContextAtEachRead) {
  const auto made = stack();

  const auto one = made->privateManagedObjectContext();
  const auto two = made->privateManagedObjectContext();

  EXPECT_NE(one, two);
  EXPECT_EQ(one->transactionAuthor(), std::nullopt);
  EXPECT_EQ(one->name(), std::nullopt);
  EXPECT_EQ(one->mergePolicy(), coredata::NSMergePolicy::error);
}

TEST_F(CoreDataStack, StopsTheProcessWithoutItsModel) {
  const auto making = [&](const std::string& model, const std::string& bundle) {
    return make<Stack>(CoreDataConfiguration(Stage::extensions, model, bundle, "", "", "app",
                                             place_.storeURL(), false),
                       logger_);
  };

  EXPECT_DEATH(static_cast<void>(making("Model", "com.tessaline.nowhere")), "Fatal error");
  EXPECT_DEATH(static_cast<void>(making("Nothing", coredatastack::modelBundleIdentifier())),
               "Fatal error");
}

TEST_F(CoreDataStack, FindsAnObjectByItsURI) {
  const auto made = setUp();
  const std::string uri = savedActivity(*made);

  const Ref<CDActivity> found = made->object<CDActivity>(uri);

  ASSERT_TRUE(found);
  EXPECT_EQ(found->objectID()->uriRepresentation().absoluteString(), uri);
  EXPECT_EQ(made->object<CDActivity>(*found->objectID()), found);
}

TEST_F(CoreDataStack, FindsAnObjectInAnotherContext) {
  const auto made = setUp();
  const std::string uri = savedActivity(*made);
  const auto identifier = made->object<CDActivity>(uri)->objectID();
  const auto background = made->privateManagedObjectContext();

  background->performBlockAndWait([&] {
    const Ref<CDActivity> byText = made->object<CDActivity>(uri, *background);
    ASSERT_TRUE(byText);
    EXPECT_EQ(byText->managedObjectContext(), background);
    EXPECT_EQ(Stack::object<CDActivity>(*identifier, *background), byText);
  });
}

TEST_F(CoreDataStack, FindsNothingByWhatNamesNoObjectOfTheClass) {
  const auto made = setUp();
  const std::string uri = savedActivity(*made);

  for (const std::string& text :
       {std::string(), std::string("not a URL"), std::string("abc"),
        std::string("https://example.com/"), std::string("x-coredata:///Activity/t1"),
        uri + "0000000000000000000000", uri + "/more"}) {
    EXPECT_EQ(made->object<CDActivity>(text), nullptr) << text;
  }
  EXPECT_EQ(made->object<CDCheckin>(uri), nullptr);
}

TEST_F(CoreDataStack, GivesAFaultForAnObjectThatIsGone) {
  const auto made = setUp();
  std::string uri = savedActivity(*made);
  uri.back() = '9';

  EXPECT_NE(made->object<CDActivity>(uri), nullptr);
}

TEST_F(CoreDataStack, PassesOnWhatItsObserverTells) {
  const auto made = setUp();
  static_cast<void>(made->managedObjectContext());
  std::mutex mutex;
  std::vector<SyncEvent> events;
  const auto token = made->syncEvent()->sink([&](const SyncEvent& event) {
    {
      const std::scoped_lock lock(mutex);
      events.push_back(event);
    }
    foundation::MainQueue::async([] {});
  });

  addStore(Version::version7, "elsewhere");

  ASSERT_TRUE(support::runMainQueueUntil([&] {
    const std::scoped_lock lock(mutex);
    return !events.empty();
  }));
  const std::scoped_lock lock(mutex);
  EXPECT_EQ(events.front(), SyncEvent::finish);
}

TEST_F(CoreDataStack, KeepsItsViewContextInStepWithOthers) {
  const auto made = setUp();
  const auto& context = made->managedObjectContext();
  EXPECT_TRUE(titles(*context).empty());

  addStore(Version::version7, "elsewhere");

  EXPECT_TRUE(support::runMainQueueUntil(
      [&] { return titles(*context) == std::vector<std::string>{"elsewhere"}; }));
}

TEST_F(CoreDataStack, GoesWithoutATrace) {
  auto made = setUp();
  const foundation::WeakRef<Stack> weakly(made);

  made = nullptr;
  foundation::drainMainQueue();

  EXPECT_TRUE(weakly.expired());
  addStore(Version::version7, "afterwards");
}

}  // namespace
