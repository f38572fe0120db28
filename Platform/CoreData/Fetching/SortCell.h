#pragma once

#include <compare>
#include <cstdint>
#include <span>
#include <string_view>

#include "CoreData/Rows/Row.h"

namespace coredata {

/// A value as a sort sees it, lent by the row that holds it.
struct SortCell {
  SlotTag tag = SlotTag::none;
  union {
    /// Of a whole number or a reference.
    std::int64_t integer = 0;
    /// Of a double or a date.
    double real;
  };
  /// Of a text, of data or of an identifier.
  std::string_view packed;

  /// The value in a slot.
  [[nodiscard]] static SortCell of(const Row& row, SlotIndex slot) noexcept;
  [[nodiscard]] static SortCell reference(ObjectKey key) noexcept;
};

/// Ascending: absent values before all others, texts and bytes by bytes, references by key. Values
/// of one sort are of one kind where they are not absent.
[[nodiscard]] std::weak_ordering compareCells(const SortCell& left, const SortCell& right) noexcept;

/// The order of keys: stored objects by key, then those never saved as they were made; their keys
/// descend.
[[nodiscard]] std::strong_ordering compareKeys(ObjectKey left, ObjectKey right) noexcept;

/// Numbers that stand for the values of one sort: one is less than another only where its value
/// comes first. Of texts it has the eight bytes that follow what all of them begin with, so all
/// must be known before the first is ranked.
class CellRanks {
 public:
  void survey(const SortCell& cell) noexcept;
  [[nodiscard]] std::uint64_t rank(const SortCell& cell) const noexcept;
  /// Whether values of equal rank are equal.
  [[nodiscard]] bool areExact() const noexcept;

 private:
  void survey(std::string_view text) noexcept;

  std::string_view prefix_;
  std::size_t shortest_ = 0;
  std::size_t longest_ = 0;
  bool hasText_ = false;
  /// Whether there is a value that its rank does not tell from all others.
  bool hasVague_ = false;
};

}  // namespace coredata
