#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <vector>

#include "CoreData/SQLite/RowDeletion.h"
#include "Foundation/Internal/HashTables.h"

namespace coredata {

/// Deletes rows of a store, and with them what the delete rules of their relationships say, without
/// making an object of any. No context is asked, and none is told.
///
/// First everything is found that goes, then it is seen whether it may, and only then is anything
/// written: a rule that denies looks at what is left once all of it is gone.
class BatchDeletion {
 public:
  explicit BatchDeletion(WriteTransaction& transaction) : rows_(transaction) {}

  /// Gives the number of the entity's rows that were deleted. Throws with a `SaveErrorCode` when a
  /// relationship denies it or would be left without a value that it must have.
  std::int64_t run(const NSEntityDescription& entity, std::span<const ObjectKey> keys);

 private:
  /// What happens to the rows of one entity.
  struct Fate {
    const NSEntityDescription* entity = nullptr;
    /// Whether anything follows for others from where a row's references lead.
    bool referencesMatter = false;
    /// Those that go, as they were found.
    std::vector<ObjectKey> condemned;
    foundation::HashSet<ObjectKey> isCondemned;
    /// How many of them were asked what goes with them.
    std::size_t judged = 0;
    /// Those that lead to one that goes, with the references by which they do.
    std::map<ObjectKey, SlotMask> released;
  };
  /// A relationship that denies the deletion of `owner` if `target` is left.
  struct Denial {
    const NSRelationshipDescription* relationship;
    ObjectKey owner;
    ObjectKey target;
  };

  [[nodiscard]] Fate& fate(const NSEntityDescription& entity);
  void condemn(const NSEntityDescription& entity, ObjectKey key);
  void release(const NSRelationshipDescription& toOne, ObjectKey key);
  /// Asks the rows that were condemned since the last time. False when there were none.
  bool judgeCondemned();
  void judgeReferences(const NSEntityDescription& entity, ObjectKey key);
  void judgeTarget(const NSRelationshipDescription& toOne, ObjectKey owner, ObjectKey target);
  void judgeMembers(const NSRelationshipDescription& toMany, std::span<const ObjectKey> owners);
  /// What goes need not be told what else goes.
  void spareCondemned();
  void requirePermission() const;
  [[nodiscard]] std::int64_t write(const NSEntityDescription& counted);

  RowDeletion rows_;
  // By the entities' numbers, so that the history says the same every time.
  std::map<EntityIndex, Fate> fates_;
  std::vector<Denial> denials_;
};

}  // namespace coredata
