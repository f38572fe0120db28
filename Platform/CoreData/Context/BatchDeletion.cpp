#include "CoreData/Context/BatchDeletion.h"

#include <algorithm>
#include <bit>
#include <string>

#include "CoreData/Context/SaveError.h"

namespace coredata {

namespace {

/// What is said of a row that cannot be deleted or be left without a reference.
std::string described(const NSRelationshipDescription& relationship, ObjectKey key) {
  return "\"" + relationship.name() + "\" of the " + relationship.entity()->name() + " " +
         std::to_string(key);
}

/// Whether deleting a row has to do with where this relationship of it leads.
bool matters(const NSRelationshipDescription& toOne) noexcept {
  return toOne.isOneToOne() || toOne.deleteRule() == NSDeleteRule::cascade ||
         toOne.deleteRule() == NSDeleteRule::deny;
}

bool anyReferenceMatters(const NSEntityDescription& entity) noexcept {
  return std::ranges::any_of(entity.toOneSlots(), [&](SlotIndex slot) {
    return matters(*entity.slots()[slot].relationship);
  });
}

/// Throws when the row must not be without one of the references.
void requireOptional(const NSEntityDescription& entity, ObjectKey key, SlotMask released) {
  for (SlotMask rest = released; rest != 0; rest &= rest - 1) {
    const Slot& slot = entity.slots()[static_cast<std::size_t>(std::countr_zero(rest))];
    if (slot.property->isOptional()) continue;
    throw saveError(SaveErrorCode::missingMandatoryProperty,
                    described(*slot.relationship, key) +
                        " must have a value, but what it leads to is to be deleted.");
  }
}

}  // namespace

std::int64_t BatchDeletion::run(const NSEntityDescription& entity,
                                std::span<const ObjectKey> keys) {
  for (const ObjectKey key : keys) condemn(entity, key);
  while (judgeCondemned()) {
  }
  spareCondemned();
  requirePermission();
  return write(entity);
}

BatchDeletion::Fate& BatchDeletion::fate(const NSEntityDescription& entity) {
  const auto [found, isNew] = fates_.try_emplace(entity.index());
  if (isNew) {
    found->second.entity = &entity;
    found->second.referencesMatter = anyReferenceMatters(entity);
  }
  return found->second;
}

void BatchDeletion::condemn(const NSEntityDescription& entity, ObjectKey key) {
  Fate& its = fate(entity);
  if (its.isCondemned.insert(key).second) its.condemned.push_back(key);
}

void BatchDeletion::release(const NSRelationshipDescription& toOne, ObjectKey key) {
  fate(*toOne.entity()).released[key] |= SlotMask{1} << toOne.slot();
}

bool BatchDeletion::judgeCondemned() {
  bool found = false;
  // Entities that are met for the first time on the way come into the map; none ever leaves it.
  for (auto& [index, its] : fates_) {
    while (its.judged < its.condemned.size()) {
      found = true;
      // A copy: more of the same entity may be condemned by these.
      const std::vector<ObjectKey> keys(
          its.condemned.begin() + static_cast<std::ptrdiff_t>(its.judged), its.condemned.end());
      its.judged = its.condemned.size();
      if (its.referencesMatter) {
        for (const ObjectKey key : keys) judgeReferences(*its.entity, key);
      }
      for (const NSRelationshipDescription* toMany : its.entity->toManyRelationships()) {
        judgeMembers(*toMany, keys);
      }
    }
  }
  return found;
}

void BatchDeletion::judgeReferences(const NSEntityDescription& entity, ObjectKey key) {
  const std::vector<ObjectKey> targets = rows_.references(entity, key);
  for (std::size_t i = 0; i < targets.size(); ++i) {
    if (targets[i] == kNoObject) continue;
    judgeTarget(*entity.slots()[entity.toOneSlots()[i]].relationship, key, targets[i]);
  }
}

void BatchDeletion::judgeTarget(const NSRelationshipDescription& toOne, ObjectKey owner,
                                ObjectKey target) {
  if (toOne.deleteRule() == NSDeleteRule::cascade) {
    return condemn(toOne.destinationEntity(), target);
  }
  if (toOne.deleteRule() == NSDeleteRule::deny) denials_.push_back({&toOne, owner, target});
  // Both sides are columns, and none must lead where nothing is.
  if (toOne.isOneToOne()) release(*toOne.inverseRelationship(), target);
}

void BatchDeletion::judgeMembers(const NSRelationshipDescription& toMany,
                                 std::span<const ObjectKey> owners) {
  if (toMany.deleteRule() == NSDeleteRule::noAction) return;
  for (const auto& [owner, member] : rows_.members(toMany, owners)) {
    if (toMany.deleteRule() == NSDeleteRule::cascade) {
      condemn(toMany.destinationEntity(), member);
    } else {
      if (toMany.deleteRule() == NSDeleteRule::deny) denials_.push_back({&toMany, owner, member});
      release(*toMany.inverseRelationship(), member);
    }
  }
}

void BatchDeletion::spareCondemned() {
  for (auto& [index, its] : fates_) {
    std::erase_if(its.released,
                  [&](const auto& row) { return its.isCondemned.contains(row.first); });
  }
  std::erase_if(denials_, [&](const Denial& denial) {
    return fate(denial.relationship->destinationEntity()).isCondemned.contains(denial.target);
  });
}

void BatchDeletion::requirePermission() const {
  if (!denials_.empty()) {
    throw saveError(SaveErrorCode::deletionDenied,
                    described(*denials_.front().relationship, denials_.front().owner) +
                        " denies the deletion while it leads anywhere.");
  }
  for (const auto& [index, its] : fates_) {
    for (const auto& [key, slots] : its.released) requireOptional(*its.entity, key, slots);
  }
}

std::int64_t BatchDeletion::write(const NSEntityDescription& counted) {
  std::int64_t count = 0;
  for (const auto& [index, its] : fates_) {
    const std::int64_t removed = rows_.remove(*its.entity, its.condemned);
    if (its.entity == &counted) count = removed;
    for (const auto& [key, slots] : its.released) {
      rows_.clearReferences(*its.entity, key, slots);
    }
  }
  return count;
}

}  // namespace coredata
