#include "CoreDataStack/Stack/CoreDataStack.h"

#include <string>
#include <utility>

#include "CoreData/Coordinator/RemoteChangeNotification.h"
#include "CoreDataStack/CoreDataMigrator.h"
#include "CoreDataStack/History/PersistentHistoryObserver.h"
#include "CoreDataStack/Stack/CoreDataConfiguration+Container.h"
#include "Foundation/Files/Bundle.h"
#include "Foundation/Files/UserDefaults.h"
#include "Foundation/Notifications/NSNotificationCenter.h"
#include "Foundation/Values/FatalError.h"
#include "Foundation/Values/WeakRef.h"

namespace coredatastack {

using combine::PassthroughSubject;
using coredata::NSManagedObject;
using coredata::NSManagedObjectContext;
using coredata::NSManagedObjectModel;
using coredata::NSPersistentContainer;
using coredata::NSPersistentStoreCoordinator;
using foundation::FileManager;
using foundation::make;
using foundation::NSNotificationCenter;
using foundation::Ref;

namespace {

Ref<const NSManagedObjectModel> modelOf(const CoreDataConfiguration& configuration) {
  const auto bundle = foundation::Bundle::withIdentifier(configuration.bundleIdentifier());
  if (!bundle) {
    foundation::fatalError("there is no bundle " + configuration.bundleIdentifier());
  }
  const auto url = bundle->url(configuration.modelName(), "momd");
  if (!url) {
    foundation::fatalError("the bundle " + configuration.bundleIdentifier() +
                           " holds no model named " + configuration.modelName());
  }
  std::string why;
  auto model = NSManagedObjectModel::contentsOf(*url, &why);
  if (!model)
    foundation::fatalError("no model can be read from " + url->description() + ": " + why);
  return model;
}

}  // namespace

CoreDataStack::CoreDataStack(CoreDataConfiguration configuration, Ref<logger::Loggable> logger)
    : migrator_(std::make_unique<CoreDataMigrator>()),
      configuration_(std::move(configuration)),
      logger_(std::move(logger)),
      syncEvent_(make<PassthroughSubject<SyncEvent>>()),
      fileManager_(FileManager::defaultManager()) {
  follow();
}

CoreDataStack::~CoreDataStack() = default;

void CoreDataStack::follow() {
  NSNotificationCenter::defaultCenter().addObserver(
      historyObserver(), kProcessStoreRemoteChanges,
      coredata::NSPersistentStoreRemoteChangeNotification, persistentStoreCoordinator());
  cancellables_.push_back(historyObserver()->syncEvent()->sink(
      [weakly = foundation::WeakRef<CoreDataStack>(this)](const SyncEvent& event) {
        if (const Ref<CoreDataStack> stack = weakly.lock()) stack->syncEvent_->send(event);
      }));
}

const Ref<PersistentHistoryObservable>& CoreDataStack::historyObserver() {
  if (!historyObserver_) {
    historyObserver_ = make<PersistentHistoryObserver>(
        AppTarget::app, persistentContainer(), foundation::UserDefaults::standard(), logger_);
  }
  return historyObserver_;
}

const Ref<const NSManagedObjectModel>& CoreDataStack::managedObjectModel() {
  if (!managedObjectModel_) managedObjectModel_ = modelOf(configuration_);
  return managedObjectModel_;
}

void CoreDataStack::setManagedObjectModel(Ref<const NSManagedObjectModel> model) {
  managedObjectModel_ = std::move(model);
}

const Ref<NSPersistentContainer>& CoreDataStack::persistentContainer() {
  if (!persistentContainer_) {
    persistentContainer_ =
        coredatastack::persistentContainer(configuration_, managedObjectModel(), fileManager_);
  }
  return persistentContainer_;
}

void CoreDataStack::setPersistentContainer(Ref<NSPersistentContainer> container) {
  persistentContainer_ = std::move(container);
}

const Ref<NSManagedObjectContext>& CoreDataStack::managedObjectContext() {
  if (!managedObjectContext_) {
    const Ref<NSManagedObjectContext>& context = persistentContainer()->viewContext();
    context->setMergePolicy(coredata::NSMergeByPropertyObjectTrumpMergePolicy);
    context->setTransactionAuthor(configuration_.author());
    context->setAutomaticallyMergesChangesFromParent(true);
    managedObjectContext_ = context;
  }
  return managedObjectContext_;
}

void CoreDataStack::setManagedObjectContext(Ref<NSManagedObjectContext> context) {
  managedObjectContext_ = std::move(context);
}

Ref<NSManagedObjectContext> CoreDataStack::privateManagedObjectContext() {
  return persistentContainer()->newBackgroundContext();
}

const Ref<NSPersistentStoreCoordinator>& CoreDataStack::persistentStoreCoordinator() {
  return persistentContainer()->persistentStoreCoordinator();
}

Ref<NSManagedObject> CoreDataStack::objectFor(std::string_view uri, NSManagedObjectContext& in) {
  const auto url = foundation::URL::parse(uri);
  if (!url) return nullptr;
  const auto identifier = persistentStoreCoordinator()->managedObjectIDForURIRepresentation(*url);
  return identifier ? in.objectWithID(*identifier) : nullptr;
}

}  // namespace coredatastack
