#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "CoreData/Rows/Row.h"
#include "CoreData/SQLite/Statement.h"

namespace coredata {

/// The columns of an entity's table, and how they become a row and back. Made once per entity:
/// reading a row then looks nothing up.
///
/// Threading: immutable.
class RowColumns {
 public:
  explicit RowColumns(const NSEntityDescription& entity);

  [[nodiscard]] const NSEntityDescription& entity() const noexcept { return *entity_; }
  /// `_id`, `_version` and the slots, which are all columns of a table that fits the model, in
  /// their order; each quoted and qualified by the table's alias, for tables that may not fit.
  [[nodiscard]] std::string list(std::string_view alias) const;
  /// How many columns `list` names.
  [[nodiscard]] int count() const noexcept { return static_cast<int>(entity_->slots().size()) + 2; }

  /// The row on which the statement stands, whose columns are the table's; in memory of its
  /// own, or next to the others in `blocks`. Throws when a column cannot be what the model says.
  [[nodiscard]] foundation::Ref<Row> read(const Statement& statement,
                                          RowBlocks* blocks = nullptr) const;
  /// Lends the slot's value to the statement until that is reset.
  static void bind(Statement& statement, int parameter, const Row& row, SlotIndex slot);

 private:
  struct Column {
    SlotIndex slot;
    SlotTag kind;
  };

  void putPacked(foundation::Ref<Row>& row, const Column& column,
                 std::span<const std::uint8_t> bytes) const;

  const NSEntityDescription* entity_;
  /// The slots whose values lie in the row's words.
  std::vector<Column> plain_;
  /// Those whose values lie behind them.
  std::vector<Column> packed_;
};

/// An SQL identifier in quotes.
[[nodiscard]] std::string quotedIdentifier(std::string_view name);

/// What the slot's column holds when it is not absent.
[[nodiscard]] SlotTag slotKind(const Slot& slot) noexcept;

}  // namespace coredata
