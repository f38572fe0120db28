#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "CoreData/Context/FetchedObjects.h"
#include "CoreData/Context/NSMergePolicy.h"
#include "CoreData/Coordinator/NSPersistentStoreCoordinator.h"
#include "CoreData/Fetching/DictionaryRows.h"
#include "CoreData/Fetching/NSFetchRequest.h"
#include "CoreData/Object/NSManagedObject.h"
#include "Foundation/Notifications/NSNotification.h"
#include "Foundation/Values/FunctionRef.h"

namespace coredata {

class ContextState;
class NSBatchDeleteRequest;
class NSPersistentHistoryChangeRequest;
class NSPersistentStoreResult;
struct NSBatchDeleteResult;

enum class NSManagedObjectContextConcurrencyType : std::uint8_t {
  privateQueue,  ///< blocks run one at a time; a waiting one on the caller's thread
  mainQueue,     ///< blocks run on the main thread
};

/// A scratch pad over the store: holds the objects that one queue is working on, remembers what
/// changed in them, and writes the changes as one transaction.
///
/// - Within one context an object identifier has exactly one live object, for as long as somebody
/// holds it. Objects
///   with changes are held by the context.
/// - `save()` commits everything or nothing. When it throws, the changes are still pending in the
/// context.
/// - What runs out of memory throws `std::bad_alloc`, and leaves the context fit for use: see
/// docs/architecture.md.
/// - Everything read inside one perform block sees one state of the store, until a save or a
/// refresh.
///
/// Threading: use it only inside its own `performBlock` or `performBlockAndWait`, a main-queue
/// context also directly on the main thread; debug builds check this and stop. The members that say
/// so may be used from anywhere.
class NSManagedObjectContext final : public foundation::Object, private CoordinatorClient {
 public:
  NSManagedObjectContext(foundation::Ref<NSPersistentStoreCoordinator> coordinator,
                         NSManagedObjectContextConcurrencyType concurrencyType);

  [[nodiscard]] const foundation::Ref<NSPersistentStoreCoordinator>& persistentStoreCoordinator()
      const noexcept;
  [[nodiscard]] NSManagedObjectContextConcurrencyType concurrencyType() const noexcept;

  // Settings, absent or off in a new context.

  /// May be read on any thread, as the author: whoever follows the history asks for them.
  [[nodiscard]] std::optional<std::string> name() const;
  void setName(std::optional<std::string> name);
  /// Stamped on the transactions that the context saves.
  [[nodiscard]] std::optional<std::string> transactionAuthor() const;
  void setTransactionAuthor(std::optional<std::string> author);
  [[nodiscard]] NSMergePolicy mergePolicy() const noexcept;
  void setMergePolicy(NSMergePolicy policy) noexcept;
  /// Whether saves of the coordinator's other contexts are merged, soon after and on this context's
  /// queue.
  [[nodiscard]] bool automaticallyMergesChangesFromParent() const noexcept;
  void setAutomaticallyMergesChangesFromParent(bool value) noexcept;

  // Taking turns.

  /// Queues a block and returns at once; blocks run in the order in which they were queued. An
  /// exception that leaves the block stops the process. From any thread.
  void performBlock(std::function<void()> block);
  /// Runs a block in the context's turn and returns what it returns; inside a block of the same
  /// context at once. An exception that leaves the block reaches the caller. From any thread.
  template <typename F>
  std::invoke_result_t<F&> performBlockAndWait(F&& block);

  // Objects.

  /// The entity that a class of typed objects stands for in this context's model. Stops the process
  /// if the model has no such entity of this class's layout.
  [[nodiscard]] const NSEntityDescription& entity(const EntityClass& entityClass) const;
  /// The entity of that name, or null.
  [[nodiscard]] const NSEntityDescription* entity(std::string_view name) const noexcept;
  /// A new object of the entity's class. Throws `foundation::Error` for an entity that the model
  /// does not have.
  foundation::Ref<NSManagedObject> insertNewObject(std::string_view entityName);
  /// The same with the key that the object's row is to get: a migration keeps those of the old
  /// store, so that identifiers that somebody remembers stay true. The save fails if the store has
  /// such a row, and keys that the store gives out itself must be kept off it (`_mark`).
  foundation::Ref<NSManagedObject> insertNewObject(std::string_view entityName, ObjectKey key);

  /// The live object with that identifier, or a new fault; never null for an identifier of this
  /// coordinator, and never a look at the store.
  [[nodiscard]] foundation::Ref<NSManagedObject> objectWithID(const NSManagedObjectID& identifier);
  /// The live object, if there is one.
  [[nodiscard]] foundation::Ref<NSManagedObject> registeredObject(
      const NSManagedObjectID& identifier);

  /// Marks the object for deletion and takes it out of its inverses at once. Its delete rules are
  /// applied when pending changes are processed, its row is removed by the next save. An object
  /// that was never saved vanishes.
  void delete_(NSManagedObject& object);
  template <typename T>
  void delete_(const foundation::Ref<T>& object) {
    if (object) delete_(*object);
  }

  /// Reads the object's current row. With `mergeChanges` its own changes are applied on top;
  /// without, they are dropped and it becomes a fault. An unsaved object is left alone; one whose
  /// row is gone counts as deleted.
  void refresh(NSManagedObject& object, bool mergeChanges);
  template <typename T>
  void refresh(const foundation::Ref<T>& object, bool mergeChanges) {
    if (object) refresh(*object, mergeChanges);
  }
  /// `refresh` with `mergeChanges` for every live object.
  void refreshAllObjects();
  /// Drops every pending change: new objects vanish, deleted ones come back, changed ones become
  /// faults. Takes no memory unless somebody observes the context's objects, and so is the way out
  /// for whoever has run out of it.
  void rollback();
  /// Drops every change and forgets every object.
  void reset();

  // Changes and saving.

  [[nodiscard]] bool hasChanges() const noexcept;
  [[nodiscard]] std::vector<foundation::Ref<NSManagedObject>> insertedObjects() const;
  [[nodiscard]] std::vector<foundation::Ref<NSManagedObject>> updatedObjects() const;
  [[nodiscard]] std::vector<foundation::Ref<NSManagedObject>> deletedObjects() const;
  /// Every live object of the context.
  [[nodiscard]] std::vector<foundation::Ref<NSManagedObject>> registeredObjects() const;
  /// Applies the delete rules of what was deleted since the last time. Happens by itself at the end
  /// of each block, before each fetch and at a save.
  void processPendingChanges();
  /// Writes all changes as one transaction; returns at once when there are none. Throws validation
  /// and conflict errors
  /// (`SaveErrorCode`) and the store's own; the store is then unchanged and the context as it was
  /// before. Once the transaction is committed nothing throws any more but a receiver of the
  /// notification.
  void save();
  /// Whether `save` takes objects that lack what is mandatory, which it otherwise refuses. For
  /// whoever fills objects in bit by bit and looks at all of them in the end, such as a migration.
  void setSavesUnfinishedObjects(bool saves);
  /// Brings the context up to date with what another one saved, as its did-save notification tells:
  /// refreshes live objects that were updated, keeping local changes, and removes deleted ones.
  /// Repeating it is harmless. Never throws: an object whose row cannot be read now becomes a fault
  /// if it has no changes of its own, so that it reads anew when it is looked into. Where memory
  /// runs out, all objects without changes become faults.
  void mergeChangesFromContextDidSave(const foundation::NSNotification& notification);

  /// Posted after a save on the thread that saved; the object is the context, the user info lists
  /// the objects under the keys `NSInsertedObjectsKey`, `NSUpdatedObjectsKey` and
  /// `NSDeletedObjectsKey`.
  [[nodiscard]] static const foundation::NSNotification::Name& didSaveNotification();

  // Fetching. All throw `foundation::Error`: no store, unknown entity or key, a failing store.

  /// The objects that satisfy the request, unsaved changes included.
  template <typename T>
  [[nodiscard]] NSArray<T> fetch(const NSFetchRequest<T>& request) {
    if constexpr (!std::is_same_v<T, NSManagedObject>) requireClass(request, T::entityClass());
    return NSArray<T>(fetchObjects(request));
  }
  [[nodiscard]] FetchedObjects fetchObjects(const NSFetchRequestBase& request);
  /// The first of these objects, or null. Nothing is read for the others, and no list is made.
  template <typename T>
  [[nodiscard]] foundation::Ref<T> fetchFirst(const NSFetchRequest<T>& request) {
    if constexpr (!std::is_same_v<T, NSManagedObject>) requireClass(request, T::entityClass());
    return foundation::Ref<T>::adopt(static_cast<T*>(fetchFirstObject(request).leak()));
  }
  [[nodiscard]] foundation::Ref<NSManagedObject> fetchFirstObject(
      const NSFetchRequestBase& request);
  /// How many objects satisfy the request, at most its limit, unsaved changes included.
  [[nodiscard]] std::int64_t count(const NSFetchRequestBase& request);
  /// The rows of a request for dictionaries, from the store alone.
  [[nodiscard]] DictionaryRows fetchDictionaries(const NSFetchRequestBase& request);
  /// The identifiers of the objects that satisfy the request.
  [[nodiscard]] std::vector<foundation::Ref<NSManagedObjectID>> fetchObjectIDs(
      const NSFetchRequestBase& request);
  /// The live object, or a new fault, for a reference in a dictionary row.
  [[nodiscard]] foundation::Ref<NSManagedObject> object(const NSEntityDescription& entity,
                                                        ObjectKey key);

  /// Deletes in the store, past this and every other context, as one transaction that the history
  /// records under this context's author. Pending changes take no part and stay pending; nobody is
  /// notified, and live objects go on to show what they had until they are refreshed. Delete rules
  /// hold: a relationship that denies, or one that must not be absent, refuses the whole request.
  /// Throws `SaveErrorCode`s, what a fetch throws and the store's own errors; the store is then
  /// unchanged.
  NSBatchDeleteResult execute(const NSBatchDeleteRequest& request);

  /// Fetches from the store's history or deletes a part of it; gives an
  /// `NSPersistentHistoryResult`. A store that keeps no history gives an empty one and has nothing
  /// to delete. Throws `HistoryErrorCode`s, what a fetch throws without a store, and the store's
  /// own errors.
  foundation::Ref<NSPersistentStoreResult> execute(const NSPersistentHistoryChangeRequest& request);

  [[nodiscard]] std::string description() const override;

 private:
  friend class ContextState;
  friend class DirtyObjectReader;
  friend class FetchedObjects;
  friend struct FetchedContent;
  friend class NSManagedObject;
  friend class SaveOperation;

  ~NSManagedObjectContext() override;

  /// Takes in an object that is being made.
  void insert(NSManagedObject& object);
  void insert(NSManagedObject& object, ObjectKey temporary);
  foundation::Ref<NSManagedObject> insertNewObjectAt(std::string_view entityName,
                                                     ObjectKey temporary);
  void requireClass(const NSFetchRequestBase& request, const EntityClass& entityClass) const;

  /// Runs the block in the context's turn, on the thread that the context's blocks run on.
  void takeTurn(foundation::FunctionRef<void()> block);
  /// Runs the block, which may lie inside another one of the context, with what comes before and
  /// after it.
  void runBlock(foundation::FunctionRef<void()> block);
  /// Debug builds stop when the calling thread is not inside the context's turn.
  void assertQueue() const noexcept;

  /// The to-ones that have an inverse and lead somewhere, and where they lead.
  static void forEachInverse(
      const NSManagedObject& object,
      foundation::FunctionRef<void(const NSRelationshipDescription&, ObjectKey)> visit);
  void applyDeleteRules(NSManagedObject& object);
  void releaseMembers(NSManagedObject& owner, const NSRelationshipDescription& relationship);
  /// The members with their rows read.
  std::vector<foundation::Ref<NSManagedObject>> loadedMembers(const ObjectSet& members);

  /// Whether the object is one of this context's that the store may know more of.
  [[nodiscard]] bool canRefresh(const NSManagedObject& object) const noexcept;
  static void forgetStoredMembers(NSManagedObject& object) noexcept;
  /// `refresh`, in the state of the store that the block sees.
  void refreshFromHere(NSManagedObject& object, bool mergeChanges);
  /// As `refreshFromHere` with the changes merged; see `mergeChangesFromContextDidSave` for what
  /// becomes of an object whose row cannot be read.
  void refreshIfPossible(NSManagedObject& object);
  /// Takes a row that is newer than the object's, and applies the object's own changes on top.
  void takeFreshRow(NSManagedObject& object, foundation::Ref<Row> fresh);
  void dropChanges(NSManagedObject& object);
  /// `rollback` once observers are taken care of.
  void dropAllChanges() noexcept;
  /// After a fresh row came in: notes in the to-many relationships concerned that the object
  /// belongs where it was put here (`mine`, null if it was not changed), and not where the store
  /// has it now; `before` is what the store had until then.
  void settleMemberships(NSManagedObject& object, const Row& before, const Row* mine);
  /// After fresh values came in: makes both sides of the object's one-to-ones agree again where
  /// they were changed here and elsewhere; changes made here stand.
  void settlePartners(NSManagedObject& object);

  // CoordinatorClient
  [[nodiscard]] foundation::Ref<foundation::Object> keepAlive() override;
  [[nodiscard]] bool listens() const override;
  void otherDidSave(const std::shared_ptr<const SaveBroadcast>& broadcast) noexcept override;
  void missedSave() noexcept override;
  void storeWillBeRemoved() override;
  void emptyInbox();
  void merge(const SaveBroadcast& broadcast);
  /// Runs what takes others' changes in. It cannot be repeated by anybody, so where there is no
  /// memory for it, everything is taken for out of date.
  void catchUp(foundation::FunctionRef<void()> work);
  void mergeFrom(const foundation::NSNotification& notification);

  std::unique_ptr<ContextState> state_;
};

template <typename F>
std::invoke_result_t<F&> NSManagedObjectContext::performBlockAndWait(F&& block) {
  using Result = std::invoke_result_t<F&>;
  if constexpr (std::is_void_v<Result>) {
    takeTurn(block);
  } else {
    std::optional<Result> result;
    takeTurn([&] { result.emplace(block()); });
    return std::move(*result);
  }
}

/// The user-info keys of the did-save notification; each holds a list of objects.
inline constexpr std::string_view NSInsertedObjectsKey = "inserted";
inline constexpr std::string_view NSUpdatedObjectsKey = "updated";
inline constexpr std::string_view NSDeletedObjectsKey = "deleted";

}  // namespace coredata
