#include "CoreData/Context/NSManagedObjectContext.h"

#include <atomic>
#include <new>

#include "CoreData/Context/ContextState.h"
#include "CoreData/Coordinator/StoreError.h"
#include "CoreData/Fetching/FetchError.h"
#include "Foundation/Queues/MainQueue.h"
#include "Foundation/Values/FatalError.h"

namespace coredata {

using foundation::Ref;

namespace {

ObjectKey nextTemporaryKey() noexcept {
  static std::atomic<ObjectKey> counter{0};
  return counter.fetch_sub(1, std::memory_order_relaxed) - 1;
}

}  // namespace

NSManagedObjectContext::NSManagedObjectContext(
    Ref<NSPersistentStoreCoordinator> coordinator,
    NSManagedObjectContextConcurrencyType concurrencyType)
    : state_(std::make_unique<ContextState>(*this, std::move(coordinator), concurrencyType)) {
  state_->coordinator->attach(*this);
}

NSManagedObjectContext::~NSManagedObjectContext() {
  state_->coordinator->detach(*this);
  // Objects may live on in others' hands; they read as absent from now on.
  try {
    for (const Ref<NSManagedObject>& object : state_->registry->objects()) object->neutralise();
  } catch (const std::bad_alloc&) {
    while (const Ref<NSManagedObject> object = state_->registry->takeAny()) object->neutralise();
  }
  state_->registry->forgetContext();
}

const Ref<NSPersistentStoreCoordinator>& NSManagedObjectContext::persistentStoreCoordinator()
    const noexcept {
  return state_->coordinator;
}
NSManagedObjectContextConcurrencyType NSManagedObjectContext::concurrencyType() const noexcept {
  return state_->concurrencyType;
}
std::optional<std::string> NSManagedObjectContext::name() const {
  const std::scoped_lock lock(state_->settingsMutex);
  return state_->name;
}
void NSManagedObjectContext::setName(std::optional<std::string> name) {
  const std::scoped_lock lock(state_->settingsMutex);
  state_->name = std::move(name);
}
std::optional<std::string> NSManagedObjectContext::transactionAuthor() const {
  const std::scoped_lock lock(state_->settingsMutex);
  return state_->author;
}
void NSManagedObjectContext::setTransactionAuthor(std::optional<std::string> author) {
  const std::scoped_lock lock(state_->settingsMutex);
  state_->author = std::move(author);
}
NSMergePolicy NSManagedObjectContext::mergePolicy() const noexcept { return state_->mergePolicy; }
void NSManagedObjectContext::setMergePolicy(NSMergePolicy policy) noexcept {
  state_->mergePolicy = policy;
}
void NSManagedObjectContext::setSavesUnfinishedObjects(bool saves) {
  assertQueue();
  state_->savesUnfinished = saves;
}
bool NSManagedObjectContext::automaticallyMergesChangesFromParent() const noexcept {
  return state_->mergesAutomatically;
}
void NSManagedObjectContext::setAutomaticallyMergesChangesFromParent(bool value) noexcept {
  state_->mergesAutomatically = value;
}

void NSManagedObjectContext::performBlock(std::function<void()> block) {
  auto turn = [self = Ref<NSManagedObjectContext>(this), block = std::move(block)] {
    self->runBlock(block);
  };
  if (state_->concurrencyType == NSManagedObjectContextConcurrencyType::mainQueue) {
    foundation::MainQueue::async(std::move(turn));
  } else {
    state_->lane.perform(std::move(turn));
  }
}

void NSManagedObjectContext::takeTurn(foundation::FunctionRef<void()> block) {
  if (state_->concurrencyType == NSManagedObjectContextConcurrencyType::mainQueue) {
    foundation::MainQueue::sync([&] { runBlock(block); });
  } else {
    state_->lane.performAndWait([&] { runBlock(block); });
  }
}

void NSManagedObjectContext::runBlock(foundation::FunctionRef<void()> block) {
  struct Nesting {
    explicit Nesting(ContextState& state) : state_(state) {
      if (state_.depth++ != 0) return;
      state_.beginReading();
      if (!state_.hasMissedSaves) return;
      state_.hasMissedSaves = false;
      state_.outdateEverything();
    }
    ~Nesting() {
      if (--state_.depth == 0) state_.endReading();
    }
    ContextState& state_;
  };
  const Nesting nesting(*state_);
  block();
  if (state_->depth == 1) processPendingChanges();
}

void NSManagedObjectContext::assertQueue() const noexcept {
#ifndef NDEBUG
  const bool isMine = state_->concurrencyType == NSManagedObjectContextConcurrencyType::mainQueue
                          ? foundation::MainQueue::isMainThread()
                          : state_->lane.isCurrent();
  if (!isMine)
    foundation::fatalError("a context or one of its objects is used outside of its queue");
#endif
}

const NSEntityDescription& NSManagedObjectContext::entity(const EntityClass& entityClass) const {
  const NSManagedObjectModel& model = state_->coordinator->managedObjectModel();
  for (const NSEntityDescription* entity : model.entities()) {
    if (state_->classes[entity->index()] == &entityClass) return *entity;
  }
  foundation::fatalError("the model has no entity for the class " +
                         std::string(entityClass.className()));
}

const NSEntityDescription* NSManagedObjectContext::entity(std::string_view name) const noexcept {
  return state_->coordinator->managedObjectModel().entity(name);
}

void NSManagedObjectContext::insert(NSManagedObject& object) { insert(object, nextTemporaryKey()); }

void NSManagedObjectContext::insert(NSManagedObject& object, ObjectKey temporary) {
  assertQueue();
  const NSEntityDescription& entity = object.entity();
  if (&entity.managedObjectModel() != &state_->coordinator->managedObjectModel()) {
    foundation::fatalError("a " + entity.name() +
                           " of another model cannot be inserted into the context");
  }
  Ref<Row>& prototype = state_->prototypes[entity.index()];
  if (!prototype) prototype = NSManagedObject::newRow(entity);
  object.row_ = prototype->copy(NSManagedObject::kRoomForChanges);
  object.registry_ = state_->registry;
  object.key_ = temporary;
  state_->inserted.makeRoom();
  state_->registry->add(object);
  try {
    state_->noteInserted(object);
  } catch (...) {
    state_->registry->remove(object);
    throw;
  }
}

Ref<NSManagedObject> NSManagedObjectContext::insertNewObject(std::string_view entityName) {
  return insertNewObjectAt(entityName, nextTemporaryKey());
}

Ref<NSManagedObject> NSManagedObjectContext::insertNewObjectAt(std::string_view entityName,
                                                               ObjectKey temporary) {
  const NSEntityDescription* found = entity(entityName);
  if (found == nullptr) {
    throw fetchError(FetchErrorCode::unknownEntity,
                     "The model has no entity named \"" + std::string(entityName) + "\".");
  }
  // A class makes its objects as faults; the row that follows makes it a new one.
  const EntityClass* entityClass = state_->classes[found->index()];
  Ref<NSManagedObject> object = Ref<NSManagedObject>::adopt(
      entityClass == nullptr
          ? new NSManagedObject(ObjectSeed{*found, *state_->registry, kNoObject, nullptr})
          : entityClass->factory()(ObjectSeed{*found, *state_->registry, kNoObject, nullptr}));
  insert(*object, temporary);
  return object;
}

Ref<NSManagedObject> NSManagedObjectContext::insertNewObject(std::string_view entityName,
                                                             ObjectKey key) {
  const ObjectKey temporary = nextTemporaryKey();
  state_->chosenKeys.emplace(temporary, key);
  return insertNewObjectAt(entityName, temporary);
}

Ref<NSManagedObject> NSManagedObjectContext::object(const NSEntityDescription& entity,
                                                    ObjectKey key) {
  assertQueue();
  return state_->object(entity, key, nullptr);
}

Ref<NSManagedObject> NSManagedObjectContext::objectWithID(const NSManagedObjectID& identifier) {
  assertQueue();
  if (&identifier.entity().managedObjectModel() != &state_->coordinator->managedObjectModel()) {
    foundation::fatalError("an identifier of another model was handed to a context");
  }
  return object(identifier.entity(), identifier.key());
}

Ref<NSManagedObject> NSManagedObjectContext::registeredObject(const NSManagedObjectID& identifier) {
  assertQueue();
  return state_->registry->find(identifier.entity(), identifier.key());
}

bool NSManagedObjectContext::hasChanges() const noexcept { return state_->hasChanges(); }
std::vector<Ref<NSManagedObject>> NSManagedObjectContext::insertedObjects() const {
  return state_->inserted.objects();
}
std::vector<Ref<NSManagedObject>> NSManagedObjectContext::updatedObjects() const {
  return state_->updated.objects();
}
std::vector<Ref<NSManagedObject>> NSManagedObjectContext::deletedObjects() const {
  return state_->deleted.objects();
}
std::vector<Ref<NSManagedObject>> NSManagedObjectContext::registeredObjects() const {
  return state_->registry->objects();
}

std::string NSManagedObjectContext::description() const {
  return "<context " + state_->name.value_or("without a name") + ": " +
         std::to_string(state_->inserted.size()) + " inserted, " +
         std::to_string(state_->updated.size()) + " updated, " +
         std::to_string(state_->deleted.size()) + " deleted>";
}

}  // namespace coredata
