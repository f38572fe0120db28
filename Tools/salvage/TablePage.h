#pragma once

#include <optional>
#include <vector>

#include "Tools/salvage/PageFile.h"

namespace salvage {

/// A row as a leaf holds it: its key, and the beginning of its record.
struct RowCell {
  std::int64_t key = 0;
  /// The record's length, of which `local` is what lies on the leaf.
  std::uint64_t size = 0;
  Bytes local;
  /// The first of the pages that hold the rest; 0 when there is none.
  PageNumber overflow = 0;
};

/// A page of a table's tree, in the format that SQLite documents. The page may hold anything: what
/// cannot be is not there.
///
/// table page := type:u8 firstFree:u16 cells:u16 content:u16 fragments:u8 [right:u32] offset:u16*
/// leaf (13)  := size:varint key:varint record [overflow:u32]
/// inner (5)  := child:u32 key:varint
///
/// Numbers are big-endian. The first page of a file begins with the file's own header.
class TablePage {
 public:
  static constexpr std::uint8_t kInner = 5;
  static constexpr std::uint8_t kLeaf = 13;

  /// `page` must outlive it.
  TablePage(Bytes page, PageNumber number) noexcept;

  [[nodiscard]] bool isLeaf() const noexcept { return type() == kLeaf; }
  [[nodiscard]] bool isInner() const noexcept { return type() == kInner; }
  /// How many cells it says it has, as far as they can be.
  [[nodiscard]] std::size_t cellCount() const noexcept;
  /// The row in a cell, taking the page for a leaf.
  [[nodiscard]] std::optional<RowCell> row(std::size_t cell) const noexcept;
  /// The pages below, taking the page for an inner one, in the order of keys. They may be any
  /// numbers whatever.
  [[nodiscard]] std::vector<PageNumber> children() const;

 private:
  [[nodiscard]] std::uint8_t type() const noexcept;
  [[nodiscard]] std::size_t headerSize() const noexcept;
  [[nodiscard]] std::size_t offsetOf(std::size_t cell) const noexcept;
  [[nodiscard]] std::size_t localSize(std::uint64_t size) const noexcept;

  Bytes page_;
  std::size_t begin_;
};

/// A number of one to nine bytes, the high ones first. Taken from the front of `bytes`; none where
/// these end before it does.
[[nodiscard]] std::optional<std::uint64_t> takeVarint(Bytes& bytes) noexcept;

}  // namespace salvage
