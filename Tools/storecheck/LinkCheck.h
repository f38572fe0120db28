#pragma once

#include <vector>

#include "CoreData/Model/NSManagedObjectModel.h"
#include "CoreData/Rows/ObjectKey.h"
#include "CoreData/SQLite/StoreInspection.h"
#include "Tools/storecheck/Findings.h"

namespace storecheck {

/// Follows every relationship of a store. It takes in all rows first, of each the keys that it
/// holds, and then looks whether they fit together.
///
/// - A to-one leads to a row that is there. Where a model leaves it to chance, because nobody
/// clears
///   it when that row is deleted, it is a warning if not.
/// - The two sides of a one-to-one lead to each other, and no two rows lead to one.
/// - A part, which a cascade rule deletes with its owner, has an owner. It is a warning if not: the
///   model lets a part be made without one, as it has to while it is being put together.
class LinkCheck {
 public:
  explicit LinkCheck(const coredata::NSManagedObjectModel& model);

  /// The next row of the entity, whose rows come in the order of their keys.
  void add(const coredata::NSEntityDescription& entity, coredata::StoredRow row);
  /// Says that rows of the entity are missing here that may be in the store: nothing is said of
  /// what leads to them.
  void giveUp(const coredata::NSEntityDescription& entity);
  void check(Findings& findings) const;

  [[nodiscard]] bool contains(const coredata::NSEntityDescription& entity,
                              coredata::ObjectKey key) const;
  /// 0 when there is no row.
  [[nodiscard]] coredata::ObjectKey highestKey(const coredata::NSEntityDescription& entity) const;
  [[nodiscard]] std::size_t count(const coredata::NSEntityDescription& entity) const;
  /// Whether all rows of the entity were taken in.
  [[nodiscard]] bool isWhole(const coredata::NSEntityDescription& entity) const;

 private:
  /// An entity's rows: their keys, ascending, and for each slot that is a to-one where it leads.
  struct Table {
    std::vector<coredata::ObjectKey> keys;
    std::vector<std::vector<coredata::ObjectKey>> targets;
    bool isWhole = true;
  };
  class Relationship;

  [[nodiscard]] const Table& table(const coredata::NSEntityDescription& entity) const {
    return tables_[entity.index()];
  }

  const coredata::NSManagedObjectModel& model_;
  /// By entity.
  std::vector<Table> tables_;
};

}  // namespace storecheck
