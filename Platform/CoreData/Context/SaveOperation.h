#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "CoreData/Context/ContextState.h"
#include "CoreData/Coordinator/ObjectIDTable.h"
#include "CoreData/SQLite/WriteTransaction.h"
#include "Foundation/Values/Error.h"

namespace coredata {

/// One save of a context: writes everything that is pending as one transaction and then makes the
/// context agree with it. When `run` throws, the store is unchanged and the context is as it was;
/// but for what a receiver of the notification throws, which comes when all is done.
///
/// What follows the commit must not fail, so all memory that it needs is taken before. Where that
/// cannot be foreseen, as when the save met others' changes, everything is taken for out of date
/// instead.
class SaveOperation {
 public:
  explicit SaveOperation(ContextState& state) : state_(state) {}

  void run();

 private:
  /// A value of a private row that was replaced for writing.
  struct ReplacedReference {
    NSManagedObject* object;
    SlotIndex slot;
    ObjectKey before;
  };
  /// What an object's row becomes once the transaction is committed, where it met somebody else's
  /// changes.
  struct MergedRow {
    NSManagedObject* object;
    foundation::Ref<Row> row;
  };

  // Before the transaction.
  void takeChanges();
  void validate() const;
  static void validateValues(const NSManagedObject& object, SlotMask mandatory,
                             std::vector<foundation::Error>& errors);
  void validateDeletion(const NSManagedObject& object,
                        std::vector<foundation::Error>& errors) const;

  // Inside it.
  void write(WriteTransaction& transaction);
  void giveKeys(WriteTransaction& transaction);
  /// The key that an object inserted here gets.
  [[nodiscard]] ObjectKey permanentKey(ObjectKey temporary) const noexcept;
  void settleReferences(NSManagedObject& object, WriteTransaction& transaction);
  [[nodiscard]] bool targetExists(const NSEntityDescription& entity, ObjectKey key,
                                  WriteTransaction& transaction);
  void replaceReference(NSManagedObject& object, SlotIndex slot, ObjectKey key);
  void writeDeleted(WriteTransaction& transaction);
  void writeInserted(WriteTransaction& transaction);
  void writeUpdated(WriteTransaction& transaction);
  void mergeUpdate(NSManagedObject& object, WriteTransaction& transaction);
  /// Where this object and somebody else gave one side of a one-to-one different partners: lets the
  /// partner that loses forget the object, so that both sides go on to agree.
  void releaseFormerPartners(const Row& mine, const Row& base, const Row& current,
                             WriteTransaction& transaction);
  void releaseReference(const NSEntityDescription& entity, ObjectKey key, SlotIndex slot,
                        ObjectKey expected, WriteTransaction& transaction);
  /// Takes a deleted object out of one-to-ones that somebody else gave it after it was deleted
  /// here.
  void releaseLatePartners(const NSManagedObject& deleted, WriteTransaction& transaction);
  /// Applies the delete rules to rows that others related to a deleted object meanwhile.
  void releaseStrangers(const NSEntityDescription& entity, ObjectKey key,
                        WriteTransaction& transaction);
  /// The same for the partners that a deleted row had when it turned out that others had changed
  /// it.
  void releasePartnersOf(const Row& deleted, WriteTransaction& transaction);
  void deleteStranger(const NSEntityDescription& entity, ObjectKey key,
                      WriteTransaction& transaction);
  /// Notes a conflict under the error policy.
  void noteConflict(const NSEntityDescription& entity, ObjectKey key, std::string_view what);
  void throwConflicts() const;

  /// Takes what the rest needs.
  void prepareToPublish();

  // After it.
  void publish() noexcept;
  void publishInserted() noexcept;
  void publishUpdated() noexcept;
  void publishDeleted() noexcept;
  void publishStrangers();
  void putChangesBack() noexcept;
  [[nodiscard]] std::shared_ptr<const SaveBroadcast> broadcast() const;
  void tellOthers() const noexcept;
  [[nodiscard]] foundation::NSNotification::UserInfo savedByKind() const;
  void notify() const;

  ContextState& state_;
  std::vector<foundation::Ref<NSManagedObject>> inserted_;
  std::vector<foundation::Ref<NSManagedObject>> updated_;
  std::vector<foundation::Ref<NSManagedObject>> deleted_;
  /// The keys that the inserted objects get.
  std::vector<ObjectKey> keys_;
  std::vector<ReplacedReference> replaced_;
  std::vector<MergedRow> merged_;
  /// Updated objects that somebody else deleted.
  std::vector<NSManagedObject*> vanished_;
  /// The updated objects whose rows were written.
  std::vector<NSManagedObject*> written_;
  /// Rows of objects that others related to what is deleted here, as the delete rules left them.
  std::vector<foundation::Ref<Row>> releasedStrangers_;
  std::vector<SaveBroadcast::Removal> deletedStrangers_;
  /// The rows of objects deleted here that somebody else had changed, as they were then.
  std::vector<foundation::Ref<Row>> deletedRows_;
  std::vector<std::string> conflicts_;
  std::pair<const NSEntityDescription*, ObjectKey> lastTarget_{nullptr, kNoObject};
  std::optional<ObjectIDTable::Room> identifiers_;
  /// What observers are told; null when there are none.
  foundation::NSNotification::UserInfo userInfo_;
};

}  // namespace coredata
