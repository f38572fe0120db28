#include "CoreData/Context/ContextState.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <new>
#include <typeinfo>
#include <utility>

#include "CoreData/Context/ObjectsDidChange.h"
#include "CoreData/Coordinator/ObjectIDTable.h"
#include "CoreData/Coordinator/StoreError.h"
#include "Foundation/Notifications/NSNotificationCenter.h"

namespace coredata {

using foundation::make;
using foundation::Ref;

ContextState::ContextState(NSManagedObjectContext& owner,
                           Ref<NSPersistentStoreCoordinator> ownCoordinator,
                           NSManagedObjectContextConcurrencyType type)
    : context(owner),
      coordinator(std::move(ownCoordinator)),
      concurrencyType(type),
      registry(make<ObjectRegistry>(
          &owner, Ref<const NSManagedObjectModel>(&coordinator->managedObjectModel()))),
      plans_(coordinator->plans()) {
  const auto entities = coordinator->managedObjectModel().entities();
  prototypes.resize(entities.size());
  emptyRows_.resize(entities.size());
  dirty_.resize(entities.size());
  epochs_.resize(entities.size());
  rowEpochs_.resize(entities.size());
  classes.reserve(entities.size());
  for (const NSEntityDescription* entity : entities)
    classes.push_back(EntityClass::serving(*entity));
}

void ContextState::report(std::string_view text) noexcept {
  std::fprintf(stderr, "CoreData: %.*s\n", static_cast<int>(text.size()), text.data());
}

Ref<NSPersistentStore> ContextState::requireStore() const {
  Ref<NSPersistentStore> store = coordinator->store();
  if (!store) {
    throw coordinatorError(CoordinatorErrorCode::noStore,
                           "There is no store to read from or write to.");
  }
  return store;
}

ReadSession& ContextState::session() {
  if (!session_) {
    session_.emplace(requireStore()->engine());
    if (depth > 0) session_->begin();
  }
  return *session_;
}

Ref<Row> ContextState::readRow(const NSEntityDescription& entity, ObjectKey key) {
  return isTemporary(key) ? nullptr : session().row(entity, key);
}

const Row& ContextState::emptyRow(const NSEntityDescription& entity) {
  Ref<Row>& row = emptyRows_[entity.index()];
  if (!row) row = Row::make(entity);
  return *row;
}

void ContextState::readMembers(const NSRelationshipDescription& relationship, ObjectKey owner,
                               ToMany& members) {
  const std::uint64_t epoch = epochs_[relationship.destinationEntity().index()];
  if (members.stored && members.epoch == epoch) return;
  auto keys =
      isTemporary(owner) ? std::vector<ObjectKey>() : session().members(relationship, owner);
  members.stored = std::make_shared<const std::vector<ObjectKey>>(std::move(keys));
  members.epoch = epoch;
}

ObjectSet ContextState::membersWithChanges(const Ref<ObjectRegistry>& from,
                                           const NSEntityDescription& entity,
                                           const ToMany& members) {
  std::vector<ObjectKey> added;
  std::vector<Ref<NSManagedObject>> unsaved;
  for (const ObjectKey key : members.added) {
    if (!isTemporary(key)) {
      added.push_back(key);
    } else if (Ref<NSManagedObject> object = registry->find(entity, key)) {
      unsaved.push_back(std::move(object));
    }
  }
  std::ranges::sort(added);
  std::vector<ObjectKey> kept;
  std::ranges::set_difference(*members.stored, members.removed, std::back_inserter(kept));
  // A member that was added here may have been stored by somebody else meanwhile.
  auto stored = std::make_shared<std::vector<ObjectKey>>();
  std::ranges::set_union(kept, added, std::back_inserter(*stored));
  return ObjectSet(from, entity, std::move(stored), std::move(unsaved));
}

Ref<NSManagedObjectID> ContextState::identifier(const NSEntityDescription& entity, ObjectKey key) {
  return coordinator->identifiers().identifier(isTemporary(key) ? nullptr : coordinator->store(),
                                               entity, key);
}

Ref<NSManagedObjectID> ContextState::ownIdentifier(const foundation::Object& argument) const {
  Ref<NSManagedObjectID> identifier;
  if (const auto* object = dynamic_cast<const NSManagedObject*>(&argument)) {
    identifier = object->objectID();
  } else {
    identifier = Ref<NSManagedObjectID>(
        const_cast<NSManagedObjectID*>(dynamic_cast<const NSManagedObjectID*>(&argument)));
  }
  if (!identifier ||
      &identifier->entity().managedObjectModel() != &coordinator->managedObjectModel()) {
    return nullptr;
  }
  const bool isOfThisStore =
      identifier->isTemporaryID() || identifier->persistentStore() == coordinator->store();
  return isOfThisStore ? identifier : nullptr;
}

const NSManagedObject* ContextState::managedObject(
    const foundation::Object& argument) const noexcept {
  const std::type_info& type = typeid(argument);
  if (managedType_ != &type) {
    if (dynamic_cast<const NSManagedObject*>(&argument) == nullptr) return nullptr;
    managedType_ = &type;
  }
  return static_cast<const NSManagedObject*>(&argument);
}

ObjectKey ContextState::keyFor(const foundation::Object& argument,
                               const NSEntityDescription& expected) const {
  // Nearly always it is an object of this very context, whose key is at hand.
  if (const NSManagedObject* object = managedObject(argument);
      object != nullptr && object->registry_ == registry && !object->state_.detached) {
    return &object->entity() == &expected ? object->key_ : kNoObject;
  }
  const Ref<NSManagedObjectID> identifier = ownIdentifier(argument);
  return identifier && &identifier->entity() == &expected ? identifier->key() : kNoObject;
}

Ref<NSManagedObject> ContextState::object(const NSEntityDescription& entity, ObjectKey key,
                                          Ref<Row> row) {
  Ref<NSManagedObject> found = registry->findOrCreate(entity, key, [&]() -> NSManagedObject* {
    const EntityClass* entityClass = classes[entity.index()];
    ObjectSeed seed{entity, *registry, key, row};
    return entityClass == nullptr ? new NSManagedObject(std::move(seed))
                                  : entityClass->factory()(std::move(seed));
  });
  if (!found->row_ && row && !found->state_.detached) found->row_ = std::move(row);
  return found;
}

void ContextState::noteInserted(NSManagedObject& object) {
  touch(object);
  inserted.add(object);
  object.state_.inserted = true;
  ++dirty(object.entity()).inserted;
}

void ContextState::noteUpdated(NSManagedObject& object) {
  updated.add(object);
  object.state_.updated = true;
  ++dirty(object.entity()).updated;
}

void ContextState::noteDeleted(NSManagedObject& object) {
  deleted.add(object);
  object.state_.deleted = true;
  ++dirty(object.entity()).deleted;
}

void ContextState::forgetChanges(NSManagedObject& object) noexcept {
  DirtyCounts& counts = dirty(object.entity());
  // The lists may hold the last handle.
  const Ref<NSManagedObject> keptAlive(&object);
  if (object.state_.deleted) {
    object.state_.deleted = false;
    deleted.remove(object);
    --counts.deleted;
  } else if (object.state_.inserted) {
    object.state_.inserted = false;
    inserted.remove(object);
    --counts.inserted;
  } else if (object.state_.updated) {
    object.state_.updated = false;
    updated.remove(object);
    --counts.updated;
  }
}

void ContextState::forgetAllChanges() noexcept { std::ranges::fill(dirty_, DirtyCounts()); }

void ContextState::detach(NSManagedObject& object) noexcept {
  const Ref<NSManagedObject> keptAlive(&object);
  forgetChanges(object);
  registry->remove(object);
  object.neutralise();
}

void ContextState::abandon(NSManagedObject& object) {
  releaseChangedRelationships(object);
  touched_.erase(Ref<NSManagedObject>(&object));
  detach(object);
}

void ContextState::forgetMember(const NSRelationshipDescription& relationship, ObjectKey owner,
                                ObjectKey member) {
  if (owner == kNoObject) return;
  const Ref<NSManagedObject> object = registry->find(*relationship.entity(), owner);
  if (object && object->toMany_) object->toMany_[relationship.toManyIndex()].forget(member);
}

void ContextState::releaseChangedRelationships(NSManagedObject& object) {
  const auto release = [&](const NSEntityDescription& entity, ObjectKey key, SlotIndex back) {
    const Ref<NSManagedObject> other = registry->find(entity, key);
    if (!other || other->isDeleted() || other->isFault()) return;
    if (other->row().reference(back) != object.key_) return;
    // One that the store leads here was noted of a change that is no more: it is the store's to
    // lead elsewhere, and a change here would stand against that.
    const bool isStored = other->committed_ ? other->committed_->slotEquals(back, other->row())
                                            : !other->state_.inserted;
    if (!isStored) other->setReference(back, kNoObject);
  };
  for (const SlotIndex slot : object.entity().toOneSlots()) {
    const NSRelationshipDescription& relationship = *object.entity().slots()[slot].relationship;
    const NSRelationshipDescription* inverse = relationship.inverseRelationship();
    if (inverse == nullptr || object.isFault()) continue;
    const ObjectKey mine = object.row_->reference(slot);
    const ObjectKey unchanged = object.state_.inserted ? kNoObject : mine;
    const ObjectKey theirs = object.committed_ ? object.committed_->reference(slot) : unchanged;
    if (inverse->isToMany()) {
      forgetMember(*inverse, mine, object.key_);
      forgetMember(*inverse, theirs, object.key_);
    } else if (mine != theirs && mine != kNoObject) {
      release(relationship.destinationEntity(), mine, inverse->slot());
    }
  }
  if (!object.toMany_) return;
  for (const NSRelationshipDescription* relationship : object.entity().toManyRelationships()) {
    for (const ObjectKey member : object.toMany_[relationship->toManyIndex()].added) {
      release(relationship->destinationEntity(), member,
              relationship->inverseRelationship()->slot());
    }
  }
}

void ContextState::remember(NSManagedObject& touched) {
  // Made now: once it has left the context nobody can say which object it was.
  static_cast<void>(touched.objectID());
  touched_.insert(Ref<NSManagedObject>(&touched));
}

void ContextState::tellObservers() {
  foundation::NSNotificationCenter& center = foundation::NSNotificationCenter::defaultCenter();
  const bool isObserved = center.hasObservers(NSManagedObjectContextObjectsDidChangeNotification);
  // Storing costs more than looking, and this is asked before each fetch.
  if (isObserved != isObserved_) isObserved_ = isObserved;
  // Looked at first: clearing an empty set costs a walk over its buckets.
  if (touched_.empty()) return;
  if (!isObserved_) return touched_.clear();
  foundation::NSNotification::UserInfo userInfo;
  try {
    userInfo = touchedByKind();
  } catch (const std::bad_alloc&) {
    // Whoever made the changes is not to be stopped: they are made. What was touched stays noted.
    return;
  }
  const auto told = std::exchange(touched_, {});
  center.post(NSManagedObjectContextObjectsDidChangeNotification, Ref<foundation::Object>(&context),
              std::move(userInfo));
}

foundation::NSNotification::UserInfo ContextState::touchedByKind() const {
  const auto keyFor = [](const NSManagedObject& object) {
    if (object.state_.detached || object.isDeleted()) return NSDeletedObjectsKey;
    if (object.state_.inserted) return NSInsertedObjectsKey;
    return object.state_.updated ? NSUpdatedObjectsKey : NSRefreshedObjectsKey;
  };
  std::map<std::string_view, foundation::ValueList> lists;
  for (const Ref<NSManagedObject>& object : touched_) lists[keyFor(*object)].emplace_back(object);
  foundation::ValueDictionary userInfo;
  for (auto& [key, list] : lists) userInfo.emplace(key, std::move(list));
  return std::make_shared<const foundation::ValueDictionary>(std::move(userInfo));
}

Ref<NSManagedObject> ContextState::changedElsewhere(const NSEntityDescription& entity,
                                                    ObjectKey key) {
  Ref<NSManagedObject> result =
      isObserved_ ? object(entity, key, nullptr) : registry->find(entity, key);
  if (result) touch(*result);
  return result;
}

void ContextState::outdateEverything() noexcept {
  for (std::uint64_t& epoch : epochs_) ++epoch;
  for (std::uint64_t& epoch : rowEpochs_) ++epoch;
  registry->forEachUnderLock([](NSManagedObject& object) {
    if (!object.hasChanges() && !object.state_.gone) object.row_ = nullptr;
  });
}

void ContextState::markGone(NSManagedObject& object) {
  Ref<Row> absent = Row::make(object.entity());
  touch(object);
  releaseChangedRelationships(object);
  forgetChanges(object);
  object.row_ = std::move(absent);
  object.committed_ = nullptr;
  object.toMany_ = nullptr;
  object.state_.gone = true;
}

}  // namespace coredata
