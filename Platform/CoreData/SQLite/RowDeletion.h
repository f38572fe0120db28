#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <vector>

#include "CoreData/Rows/Row.h"
#include "CoreData/SQLite/WriteTransaction.h"

namespace coredata {

class Statement;

/// Deletes rows of a transaction by their keys alone, and clears what leads to them. No row is
/// loaded: of its columns the references alone are looked at, never a picture's bytes.
///
/// Its statements are prepared when they are first needed and live as long as it does, which must
/// be shorter than the transaction does.
///
/// Threading: as the transaction.
class RowDeletion {
 public:
  explicit RowDeletion(WriteTransaction& transaction) noexcept;
  ~RowDeletion();
  RowDeletion(const RowDeletion&) = delete;
  RowDeletion& operator=(const RowDeletion&) = delete;

  /// The keys to which a row's to-one relationships lead, in the order of the entity's
  /// `toOneSlots`, of which there must be any; empty for a row that is not there.
  [[nodiscard]] std::vector<ObjectKey> references(const NSEntityDescription& entity, ObjectKey key);
  struct Membership {
    ObjectKey owner;
    ObjectKey member;
  };
  /// The members of a to-many of each owner, in the order of the owners and ascending in each.
  [[nodiscard]] std::vector<Membership> members(const NSRelationshipDescription& toMany,
                                                std::span<const ObjectKey> owners);

  /// Makes the references in `slots` absent and counts the row's version up. A row that is not
  /// there is left alone.
  void clearReferences(const NSEntityDescription& entity, ObjectKey key, SlotMask slots);
  /// Deletes the rows of these keys, no two of which are the same, in one statement. Gives how many
  /// of them were there.
  [[nodiscard]] std::int64_t remove(const NSEntityDescription& entity,
                                    std::span<const ObjectKey> keys);

 private:
  enum class Work : std::uint8_t { references, members, clearing, removal };
  struct Kind {
    Work work;
    EntityIndex entity;
    SlotMask slots;

    friend auto operator<=>(const Kind&, const Kind&) = default;
  };

  [[nodiscard]] Statement& statement(Work work, const NSEntityDescription& entity,
                                     SlotMask slots = 0);
  WriteTransaction& transaction_;
  std::map<Kind, std::unique_ptr<Statement>> statements_;
};

}  // namespace coredata
