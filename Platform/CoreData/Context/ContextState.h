#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <typeinfo>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "CoreData/Context/ChangeList.h"
#include "CoreData/Context/NSManagedObjectContext.h"
#include "CoreData/Coordinator/NSPersistentStoreCoordinator.h"
#include "CoreData/Fetching/RecentPlans.h"
#include "CoreData/Object/EntityClass.h"
#include "CoreData/Object/ObjectRegistry.h"
#include "CoreData/SQLite/Query/ObjectArguments.h"
#include "CoreData/SQLite/ReadSession.h"
#include "Foundation/Queues/SerialLane.h"

namespace coredata {

/// How many objects of one entity have unsaved changes.
struct DirtyCounts {
  std::uint32_t inserted = 0;
  std::uint32_t updated = 0;
  std::uint32_t deleted = 0;

  [[nodiscard]] bool any() const noexcept { return inserted + updated + deleted != 0; }
};

/// What a context is made of, for the sources that make it work.
///
/// Ownership: the context holds the objects that have changes; objects hold the registry, which
/// knows the context as long as it lives; relationships are keys. So nothing here holds itself.
class ContextState final : public ObjectArguments {
 public:
  ContextState(NSManagedObjectContext& context,
               foundation::Ref<NSPersistentStoreCoordinator> coordinator,
               NSManagedObjectContextConcurrencyType concurrencyType);

  /// Writes one line about a mishap that has no caller to throw to.
  static void report(std::string_view text) noexcept;

  // Reading.

  /// The store's rows as this context reads them. Throws when there is no store.
  [[nodiscard]] ReadSession& session();
  /// The store; throws when there is none.
  [[nodiscard]] foundation::Ref<NSPersistentStore> requireStore() const;
  /// How the request is run. Throws what makes no sense of it.
  [[nodiscard]] foundation::Ref<const FetchPlan> plan(const NSFetchRequestBase& request) {
    return plans_.plan(request);
  }
  /// Around the outermost block: everything read in between sees one state of the store.
  void beginReading() {
    if (session_) session_->begin();
  }
  void endReading() noexcept {
    if (session_) session_->end();
  }
  /// What is read from now on sees what was committed since the block's first read.
  void seeNewest() noexcept {
    if (session_) session_->refresh();
  }
  /// Lets go of the store, which is about to be removed.
  void dropSession() noexcept { session_.reset(); }
  [[nodiscard]] foundation::Ref<Row> readRow(const NSEntityDescription& entity, ObjectKey key);
  /// All absent, for a look at an object that cannot be read.
  [[nodiscard]] const Row& emptyRow(const NSEntityDescription& entity);
  /// Fills the stored members in unless they are known and up to date.
  void readMembers(const NSRelationshipDescription& relationship, ObjectKey owner, ToMany& members);
  [[nodiscard]] ObjectSet membersWithChanges(const foundation::Ref<ObjectRegistry>& from,
                                             const NSEntityDescription& entity,
                                             const ToMany& members);
  [[nodiscard]] foundation::Ref<NSManagedObjectID> identifier(const NSEntityDescription& entity,
                                                              ObjectKey key);

  [[nodiscard]] ObjectKey keyFor(const foundation::Object& argument,
                                 const NSEntityDescription& expected) const override;
  /// The identifier that an object or an identifier stands for, if it is one of this store's.
  [[nodiscard]] foundation::Ref<NSManagedObjectID> ownIdentifier(
      const foundation::Object& argument) const;

  // Objects.

  /// The live object, or a new one with that row, or a new fault if the row is null. A live fault
  /// takes the row.
  [[nodiscard]] foundation::Ref<NSManagedObject> object(const NSEntityDescription& entity,
                                                        ObjectKey key, foundation::Ref<Row> row);
  [[nodiscard]] DirtyCounts& dirty(const NSEntityDescription& entity) {
    return dirty_[entity.index()];
  }
  [[nodiscard]] bool hasChanges() const noexcept {
    return !inserted.empty() || !updated.empty() || !deleted.empty();
  }
  // The first three do nothing when there is no memory for it; none needs any once its list has
  // made room.
  void noteInserted(NSManagedObject& object);
  void noteUpdated(NSManagedObject& object);
  void noteDeleted(NSManagedObject& object);
  /// Takes the object out of the list that it is in and marks it as unchanged.
  void forgetChanges(NSManagedObject& object) noexcept;
  /// As `forgetChanges` of each of the objects, which are all that have changes and are in no list
  /// any more.
  void forgetAllChanges() noexcept;
  /// Takes the object out of the context for good.
  void detach(NSManagedObject& object) noexcept;
  /// Takes back the insertion of an object whose constructor throws.
  void abandon(NSManagedObject& object);
  /// Drops what the owner's to-many relationship has noted of the member, if the owner is alive.
  void forgetMember(const NSRelationshipDescription& relationship, ObjectKey owner,
                    ObjectKey member);
  // Telling observers.

  /// Whether somebody waits to be told of changes. May be asked from any thread.
  [[nodiscard]] bool isObserved() const noexcept { return isObserved_; }
  /// The object is to be told of the next time. A second touch takes no memory.
  void touch(NSManagedObject& object) {
    if (isObserved_) remember(object);
  }
  /// Tells whoever observes what was touched since the last time, and finds out whether somebody
  /// does. Where there is no memory to say it with, they are told the next time.
  void tellObservers();
  /// The live object that somebody else has changed, or null; a fault rather than null while
  /// somebody waits to be told of it.
  [[nodiscard]] foundation::Ref<NSManagedObject> changedElsewhere(const NSEntityDescription& entity,
                                                                  ObjectKey key);

  /// The object's row is gone from the store: it reads as absent and counts as deleted, and what
  /// was related to it here is not any more.
  void markGone(NSManagedObject& object);

  /// Objects of the entity were changed by somebody else: relationships to them must be read anew.
  void outdateMembers(const NSEntityDescription& entity) {
    ++epochs_[entity.index()];
    outdateRows(entity);
  }
  /// Rows of the entity were written: fetched lists must not show the ones they hold any more.
  void outdateRows(const NSEntityDescription& entity) { ++rowEpochs_[entity.index()]; }
  /// For when there is no memory to find out what others have changed: everything without changes
  /// of its own is read anew when it is looked at. What has changes meets the others' as a
  /// conflict.
  void outdateEverything() noexcept;
  [[nodiscard]] std::uint64_t rowEpoch(const NSEntityDescription& entity) const noexcept {
    return rowEpochs_[entity.index()];
  }

  NSManagedObjectContext& context;
  const foundation::Ref<NSPersistentStoreCoordinator> coordinator;
  const NSManagedObjectContextConcurrencyType concurrencyType;
  const foundation::Ref<ObjectRegistry> registry;
  foundation::SerialLane lane;
  /// How many blocks of the context are inside each other on the thread whose turn it is.
  int depth = 0;

  ChangeList inserted;
  ChangeList updated;
  ChangeList deleted;
  /// Deleted objects whose delete rules are still to be applied.
  std::vector<foundation::Ref<NSManagedObject>> condemned;
  /// By temporary key, which is never used again: the keys that new objects are to get where their
  /// maker chose them. Empty but in migrations.
  std::unordered_map<ObjectKey, ObjectKey> chosenKeys;
  /// Whether a save takes objects that lack what is mandatory. Nowhere but in migrations.
  bool savesUnfinished = false;

  /// Set in the context's turn, where they are read without the mutex; elsewhere with it.
  std::mutex settingsMutex;
  std::optional<std::string> name;
  std::optional<std::string> author;
  NSMergePolicy mergePolicy = NSMergePolicy::error;
  std::atomic<bool> mergesAutomatically{false};

  /// Saves of other contexts that wait to be merged.
  std::mutex inboxMutex;
  std::vector<std::shared_ptr<const SaveBroadcast>> inbox;  // guarded by inboxMutex
  /// Whether there was a save that found no room in the inbox.
  std::atomic<bool> hasMissedSaves{false};

  /// The classes that serve the model's entities, null for plain objects.
  std::vector<const EntityClass*> classes;
  /// New rows by entity, with the model's defaults.
  std::vector<foundation::Ref<Row>> prototypes;

 private:
  /// The argument as a managed object, or null.
  [[nodiscard]] const NSManagedObject* managedObject(
      const foundation::Object& argument) const noexcept;
  /// Takes an object that is no more out of the relationships that were changed here.
  void releaseChangedRelationships(NSManagedObject& object);

  void remember(NSManagedObject& touched);
  /// What there is to tell of what was touched.
  [[nodiscard]] foundation::NSNotification::UserInfo touchedByKind() const;

  /// The class of the managed object that was asked about last: questions ask about few classes,
  /// and going up a class's ancestors takes longer than the rest of the answer.
  mutable const std::type_info* managedType_ = nullptr;
  std::atomic<bool> isObserved_{false};
  std::unordered_set<foundation::Ref<NSManagedObject>> touched_;
  std::optional<ReadSession> session_;
  RecentPlans plans_;
  std::vector<foundation::Ref<Row>> emptyRows_;
  std::vector<DirtyCounts> dirty_;
  std::vector<std::uint64_t> epochs_;
  std::vector<std::uint64_t> rowEpochs_;
};

}  // namespace coredata
