#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "CoreData/Fetching/FetchPlan.h"
#include "CoreData/Fetching/SortCell.h"
#include "CoreData/Rows/Row.h"

namespace coredata {

/// The rows of a dictionary fetch: one block of cells, texts packed behind each other, so that a
/// hundred thousand rows cost no allocation each. Columns are found by name once, then read by
/// number.
class DictionaryRows {
 public:
  DictionaryRows() = default;
  /// No rows yet, of the plan's columns.
  explicit DictionaryRows(const FetchPlan& plan) : plan_(&plan), width_(plan.columns().size()) {}

  [[nodiscard]] std::size_t size() const noexcept {
    return width_ == 0 ? 0 : cells_.size() / width_;
  }
  [[nodiscard]] bool empty() const noexcept { return size() == 0; }
  [[nodiscard]] std::span<const FetchColumn> columns() const noexcept {
    return plan_ ? std::span(plan_->columns()) : std::span<const FetchColumn>();
  }
  static constexpr std::size_t kNoColumn = static_cast<std::size_t>(-1);
  /// The number of the column of that name, or `kNoColumn`.
  [[nodiscard]] std::size_t column(std::string_view name) const noexcept;

  [[nodiscard]] SlotTag tag(std::size_t row, std::size_t column) const noexcept {
    return cell(row, column).tag;
  }
  /// The readers answer 0, empty or `kNoObject` for a cell that is absent or of another kind.
  [[nodiscard]] std::int64_t integer(std::size_t row, std::size_t column) const noexcept;
  [[nodiscard]] double real(std::size_t row, std::size_t column) const noexcept;
  [[nodiscard]] std::string_view text(std::size_t row, std::size_t column) const noexcept;
  [[nodiscard]] ObjectKey reference(std::size_t row, std::size_t column) const noexcept;
  /// The cell as a value of run-time kind; a reference gives its key as a number.
  [[nodiscard]] foundation::Value value(std::size_t row, std::size_t column) const;

  void reserve(std::size_t rows) { cells_.reserve(rows * width_); }
  /// Cells are appended from left to right, row by row.
  void appendNone() { cells_.push_back({}); }
  void appendInteger(std::int64_t value);
  void appendReal(double value);
  void appendDate(double secondsSinceReferenceDate);
  void appendReference(ObjectKey key);
  void appendText(std::string_view value) {
    appendPacked(SlotTag::text, value.data(), value.size());
  }
  void appendBytes(std::span<const std::uint8_t> value) {
    appendPacked(SlotTag::bytes, value.data(), value.size());
  }
  void appendIdentifier(std::span<const std::uint8_t> value) {
    appendPacked(SlotTag::identifier, value.data(), value.size());
  }

  /// Whether the rows hold what these sorts go by.
  [[nodiscard]] static bool canSort(const FetchPlan& plan, std::span<const SortTerm> sorts);
  /// The numbers of the rows in order by sorts that they can be sorted by.
  [[nodiscard]] std::vector<std::uint32_t> order(std::span<const SortTerm> sorts) const;
  /// Puts the rows in that order.
  void sort(std::span<const SortTerm> sorts) { reorder(order(sorts)); }

 private:
  struct Cell {
    union {
      std::int64_t integer = 0;
      double real;
      std::uint64_t offset;
    };
    std::uint32_t size = 0;
    SlotTag tag = SlotTag::none;
  };

  void appendPacked(SlotTag tag, const void* source, std::size_t size);
  [[nodiscard]] const Cell& cell(std::size_t row, std::size_t column) const noexcept {
    return cells_[row * width_ + column];
  }
  [[nodiscard]] SortCell sortCell(std::size_t row, std::size_t column) const noexcept;
  /// Puts the rows into the order of `rows`, which names each row once.
  void reorder(std::span<const std::uint32_t> rows);

  foundation::Ref<const FetchPlan> plan_;
  /// How many columns there are.
  std::size_t width_ = 0;
  std::vector<Cell> cells_;
  std::string payload_;
};

}  // namespace coredata
