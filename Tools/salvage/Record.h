#pragma once

#include <optional>
#include <string>
#include <vector>

#include "CoreData/SQLite/StoreInspection.h"
#include "Tools/salvage/TablePage.h"

namespace salvage {

/// What a record says of its columns before their values: of which kind and how long each is.
///
/// record := headerSize:varint kind:varint* value*
/// kind   := 0 absent | 1..6 integer of 1, 2, 3, 4, 6, 8 bytes | 7 real | 8 zero | 9 one
///         | 12, 14, ... bytes | 13, 15, ... text
class RecordShape {
 public:
  struct Column {
    coredata::StoredValue::Kind kind = coredata::StoredValue::Kind::absent;
    /// A number that takes no room.
    std::int64_t constant = 0;
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
  };

  /// None unless kinds and lengths fit together exactly, as they do in every record.
  [[nodiscard]] static std::optional<RecordShape> of(const RowCell& cell);

  [[nodiscard]] std::span<const Column> columns() const noexcept { return columns_; }

 private:
  std::vector<Column> columns_;
};

/// The values of a record, wherever they lie.
class RecordReader {
 public:
  explicit RecordReader(const PageFile& file) : file_(file) {}

  /// Follows the record onto its further pages, each of which `taken` then has. A page that is in
  /// it already is another record's, and the record ends before it.
  void read(const RowCell& cell, const RecordShape& shape, PageSet& taken);
  /// The same without regard to whose the pages are, for as many of them as `read` found.
  void readAgain(const RowCell& cell, const RecordShape& shape, std::size_t pages);

  /// By column. Texts and bytes are good until the next record is read. Absent where it was not
  /// found.
  [[nodiscard]] coredata::StoredRow values() const noexcept { return values_; }
  /// Whether the column has a value that lies where nothing can be read.
  [[nodiscard]] bool isLost(std::size_t column) const { return lost_[column]; }
  [[nodiscard]] std::size_t overflowPages() const noexcept { return overflowPages_; }

 private:
  template <typename MayTake>
  void collect(const RowCell& cell, MayTake&& mayTake);
  void decode(const RecordShape& shape);

  const PageFile& file_;
  std::string content_;
  std::vector<coredata::StoredValue> values_;
  std::vector<bool> lost_;
  std::size_t overflowPages_ = 0;
};

}  // namespace salvage
