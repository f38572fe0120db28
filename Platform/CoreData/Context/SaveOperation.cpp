#include "CoreData/Context/SaveOperation.h"

#include <algorithm>

#include "CoreData/Context/RowMerging.h"
#include "CoreData/Context/SaveError.h"
#include "CoreData/Rows/RowVersion.h"
#include "Foundation/Values/FatalError.h"

namespace coredata {

using foundation::Ref;

namespace {

/// Under the write lock nobody else can change a row that was just read.
void requireWritten(bool written) {
  if (!written) foundation::fatalError("a row changed inside the transaction that had read it");
}

}  // namespace

void SaveOperation::run() {
  takeChanges();
  try {
    validate();
    WriteTransaction transaction(state_.session());
    write(transaction);
    throwConflicts();
    prepareToPublish();
    transaction.commit({state_.author, state_.name});
  } catch (...) {
    putChangesBack();
    throw;
  }
  publish();
  tellOthers();
  notify();
}

void SaveOperation::takeChanges() {
  inserted_ = state_.inserted.take();
  updated_ = state_.updated.take();
  deleted_ = state_.deleted.take();
}

void SaveOperation::write(WriteTransaction& transaction) {
  transaction.expectChanges(inserted_.size() + updated_.size() + deleted_.size());
  giveKeys(transaction);
  writeDeleted(transaction);
  writeInserted(transaction);
  writeUpdated(transaction);
  for (const Ref<NSManagedObject>& object : deleted_) {
    releaseStrangers(object->entity(), object->key_, transaction);
    releaseLatePartners(*object, transaction);
  }
  // Only now: a partner that has found another one here is no longer theirs.
  for (const Ref<Row>& row : deletedRows_) releasePartnersOf(*row, transaction);
}

void SaveOperation::giveKeys(WriteTransaction& transaction) {
  keys_.reserve(inserted_.size());
  std::vector<ObjectKey> next(state_.classes.size(), kNoObject);
  for (const Ref<NSManagedObject>& object : inserted_) {
    if (const auto chosen = state_.chosenKeys.find(object->key_);
        chosen != state_.chosenKeys.end()) {
      keys_.push_back(chosen->second);
      continue;
    }
    ObjectKey& key = next[object->entity().index()];
    if (key == kNoObject) {
      key = transaction.reserveKeys(object->entity(), state_.dirty(object->entity()).inserted);
    }
    keys_.push_back(key++);
  }
}

ObjectKey SaveOperation::permanentKey(ObjectKey temporary) const noexcept {
  // Objects are inserted in the order in which they get their temporary keys, which descend.
  const auto keyOf = [](const Ref<NSManagedObject>& object) { return object->key_; };
  const auto found = std::ranges::lower_bound(inserted_, temporary, std::ranges::greater(), keyOf);
  if (found == inserted_.end() || (*found)->key_ != temporary) return kNoObject;
  return keys_[static_cast<std::size_t>(found - inserted_.begin())];
}

void SaveOperation::replaceReference(NSManagedObject& object, SlotIndex slot, ObjectKey key) {
  replaced_.push_back({&object, slot, object.row_->reference(slot)});
  object.row_->setReference(slot, key);
}

void SaveOperation::settleReferences(NSManagedObject& object, WriteTransaction& transaction) {
  for (const SlotIndex slot : object.entity().toOneSlots()) {
    const ObjectKey target = object.row_->reference(slot);
    if (target == kNoObject) continue;
    if (isTemporary(target)) {
      replaceReference(object, slot, permanentKey(target));
      continue;
    }
    if (object.committed_ && object.committed_->reference(slot) == target) continue;
    const NSEntityDescription& destination =
        object.entity().slots()[slot].relationship->destinationEntity();
    if (targetExists(destination, target, transaction)) continue;
    const Ref<NSManagedObject> known = state_.registry->find(destination, target);
    const bool isOwnDeletion = known && known->state_.deleted;
    if (state_.mergePolicy == NSMergePolicy::error && !isOwnDeletion) {
      noteConflict(destination, target, "is deleted, but a relationship leads to it");
    } else {
      replaceReference(object, slot, kNoObject);
    }
  }
}

bool SaveOperation::targetExists(const NSEntityDescription& entity, ObjectKey key,
                                 WriteTransaction& transaction) {
  if (lastTarget_ == std::pair(&entity, key)) return true;
  if (!transaction.exists(entity, key)) return false;
  lastTarget_ = {&entity, key};
  return true;
}

void SaveOperation::writeDeleted(WriteTransaction& transaction) {
  for (const Ref<NSManagedObject>& object : deleted_) {
    const NSEntityDescription& entity = object->entity();
    const Row& known = object->committed_ ? *object->committed_ : *object->row_;
    if (transaction.remove(entity, object->key_, known.version())) continue;
    if (state_.mergePolicy == NSMergePolicy::error) {
      noteConflict(entity, object->key_,
                   "was changed or deleted by somebody else and is deleted here");
    } else if (const Ref<Row> current = transaction.row(entity, object->key_)) {
      requireWritten(transaction.remove(entity, object->key_, current->version()));
      deletedRows_.push_back(current);
    }
  }
}

void SaveOperation::writeInserted(WriteTransaction& transaction) {
  // As many as stay in the processor's cache between the two looks that are taken at each.
  constexpr std::size_t kBatch = 512;
  std::vector<const Row*> batch;
  batch.reserve(std::min(kBatch, inserted_.size()));
  for (std::size_t i = 0; i < inserted_.size(); ++i) {
    NSManagedObject& object = *inserted_[i];
    settleReferences(object, transaction);
    object.row_->setKey(keys_[i]);
    object.row_->setVersion(1);
    if (!batch.empty() && (batch.size() == kBatch || &batch.back()->entity() != &object.entity())) {
      transaction.insert(batch);
      batch.clear();
    }
    batch.push_back(object.row_.get());
  }
  transaction.insert(batch);
}

void SaveOperation::writeUpdated(WriteTransaction& transaction) {
  for (const Ref<NSManagedObject>& object : updated_) {
    if (!object->committed_) continue;
    settleReferences(*object, transaction);
    const SlotMask changed = object->row_->differencesFrom(*object->committed_);
    if (changed == 0) continue;
    const std::int64_t expected = object->committed_->version();
    object->row_->setVersion(versionAfter(expected));
    if (transaction.update(*object->row_, changed, expected)) {
      written_.push_back(object.get());
    } else if (state_.mergePolicy == NSMergePolicy::error) {
      noteConflict(object->entity(), object->key_, "was changed or deleted by somebody else");
    } else {
      mergeUpdate(*object, transaction);
    }
  }
}

void SaveOperation::mergeUpdate(NSManagedObject& object, WriteTransaction& transaction) {
  const Ref<Row> current = transaction.row(object.entity(), object.key_);
  if (!current) {
    // It was erased by the user; bringing it back could bring back what its owner no longer has.
    vanished_.push_back(&object);
    return;
  }
  Ref<Row> merged = rowWithChanges(*current, *object.row_, *object.committed_);
  releaseFormerPartners(*object.row_, *object.committed_, *current, transaction);
  const SlotMask changed = merged->differencesFrom(*current);
  if (changed != 0) {
    merged->setVersion(versionAfter(current->version()));
    requireWritten(transaction.update(*merged, changed, current->version()));
    written_.push_back(&object);
  }
  merged_.push_back({&object, std::move(merged)});
}

void SaveOperation::releaseFormerPartners(const Row& mine, const Row& base, const Row& current,
                                          WriteTransaction& transaction) {
  for (const SlotIndex slot : mine.entity().toOneSlots()) {
    const NSRelationshipDescription& relationship = *mine.entity().slots()[slot].relationship;
    if (!relationship.isOneToOne() || mine.slotEquals(slot, base)) continue;
    const ObjectKey theirs = current.reference(slot);
    if (theirs == kNoObject || theirs == mine.reference(slot)) continue;
    releaseReference(relationship.destinationEntity(), theirs,
                     relationship.inverseRelationship()->slot(), current.key(), transaction);
  }
}

void SaveOperation::releaseReference(const NSEntityDescription& entity, ObjectKey key,
                                     SlotIndex slot, ObjectKey expected,
                                     WriteTransaction& transaction) {
  const Ref<Row> current = transaction.row(entity, key);
  if (!current || current->reference(slot) != expected) return;
  Ref<Row> released = current->copy();
  released->setReference(slot, kNoObject);
  released->setVersion(versionAfter(current->version()));
  requireWritten(transaction.update(*released, SlotMask{1} << slot, current->version()));
  releasedStrangers_.push_back(std::move(released));
}

void SaveOperation::releaseStrangers(const NSEntityDescription& entity, ObjectKey key,
                                     WriteTransaction& transaction) {
  for (const NSRelationshipDescription* relationship : entity.toManyRelationships()) {
    const NSEntityDescription& destination = relationship->destinationEntity();
    for (const ObjectKey member : transaction.members(*relationship, key)) {
      if (state_.mergePolicy == NSMergePolicy::error) {
        noteConflict(destination, member,
                     "was related by somebody else to an object that is deleted here");
      } else if (relationship->deleteRule() == NSDeleteRule::cascade) {
        deleteStranger(destination, member, transaction);
      } else {
        releaseReference(destination, member, relationship->inverseRelationship()->slot(), key,
                         transaction);
      }
    }
  }
}

void SaveOperation::releaseLatePartners(const NSManagedObject& deleted,
                                        WriteTransaction& transaction) {
  const Row& known = deleted.committed_ ? *deleted.committed_ : *deleted.row_;
  for (const SlotIndex slot : known.entity().toOneSlots()) {
    const NSRelationshipDescription& relationship = *known.entity().slots()[slot].relationship;
    const ObjectKey target = known.reference(slot);
    if (!relationship.isOneToOne() || target == kNoObject) continue;
    const NSEntityDescription& entity = relationship.destinationEntity();
    const SlotIndex back = relationship.inverseRelationship()->slot();
    // A partner that was there at the deletion has forgotten the object, or is deleted with it.
    const Ref<NSManagedObject> partner = state_.registry->find(entity, target);
    if (partner && (partner->isDeleted() ||
                    (partner->row_ && partner->row_->reference(back) != known.key()))) {
      continue;
    }
    const Ref<Row> current = transaction.row(entity, target);
    if (!current || current->reference(back) != known.key()) continue;
    if (state_.mergePolicy == NSMergePolicy::error) {
      noteConflict(entity, target,
                   "was related by somebody else to an object that is deleted here");
    } else if (relationship.deleteRule() == NSDeleteRule::cascade) {
      deleteStranger(entity, target, transaction);
    } else {
      releaseReference(entity, target, back, known.key(), transaction);
    }
  }
}

void SaveOperation::releasePartnersOf(const Row& deleted, WriteTransaction& transaction) {
  for (const SlotIndex slot : deleted.entity().toOneSlots()) {
    const NSRelationshipDescription& relationship = *deleted.entity().slots()[slot].relationship;
    const ObjectKey target = deleted.reference(slot);
    if (target == kNoObject) continue;
    const NSEntityDescription& entity = relationship.destinationEntity();
    const bool cascades = relationship.deleteRule() == NSDeleteRule::cascade;
    if (!relationship.isOneToOne()) {
      if (cascades) deleteStranger(entity, target, transaction);
      continue;
    }
    const SlotIndex back = relationship.inverseRelationship()->slot();
    if (!cascades) {
      releaseReference(entity, target, back, deleted.key(), transaction);
    } else if (const Ref<Row> part = transaction.row(entity, target);
               part && part->reference(back) == deleted.key()) {
      deleteStranger(entity, target, transaction);
    }
  }
}

void SaveOperation::deleteStranger(const NSEntityDescription& entity, ObjectKey key,
                                   WriteTransaction& transaction) {
  const Ref<Row> current = transaction.row(entity, key);
  if (!current || !transaction.remove(entity, key, current->version())) return;
  deletedStrangers_.push_back({&entity, key});
  releasePartnersOf(*current, transaction);
  releaseStrangers(entity, key, transaction);
}

void SaveOperation::noteConflict(const NSEntityDescription& entity, ObjectKey key,
                                 std::string_view what) {
  conflicts_.push_back(state_.identifier(entity, key)->description() + " " + std::string(what));
}

void SaveOperation::throwConflicts() const {
  if (conflicts_.empty()) return;
  foundation::ValueList details(conflicts_.begin(), conflicts_.end());
  throw saveError(
      SaveErrorCode::conflict,
      conflicts_.front() + (conflicts_.size() == 1
                                ? "."
                                : ", and " + std::to_string(conflicts_.size() - 1) + " more."),
      {{std::string(NSDetailedErrorsKey), details}});
}

void SaveOperation::putChangesBack() noexcept {
  // From the last to the first: a slot may have been replaced twice.
  for (auto replaced = replaced_.rbegin(); replaced != replaced_.rend(); ++replaced) {
    replaced->object->row_->setReference(replaced->slot, replaced->before);
  }
  for (const Ref<NSManagedObject>& object : inserted_) {
    object->row_->setKey(kNoObject);
    object->row_->setVersion(0);
  }
  for (const Ref<NSManagedObject>& object : updated_) {
    if (object->committed_) object->row_->setVersion(object->committed_->version());
  }
  state_.inserted.putBack(std::move(inserted_));
  state_.updated.putBack(std::move(updated_));
  state_.deleted.putBack(std::move(deleted_));
}

}  // namespace coredata
