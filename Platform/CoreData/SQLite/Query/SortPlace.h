#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "CoreData/SQLite/Statement.h"
#include "absl/container/inlined_vector.h"

namespace coredata {

/// What a cell held, kept to tell whether another one holds the same.
class CellContent {
 public:
  /// Becomes what the cell holds; false when it was that already.
  bool become(const Cell& cell) {
    const bool isOfOtherClass = replace(class_, cell.storageClass());
    return replaceContent(cell) || isOfOtherClass;
  }

 private:
  bool replaceContent(const Cell& cell) {
    switch (class_) {
      case SQLITE_NULL:
        return false;
      case SQLITE_INTEGER:
        return replace(integer_, cell.integer());
      case SQLITE_FLOAT:
        return replace(real_, cell.real());
      default:
        return replace(text_, cell.text());
    }
  }

  template <typename Held, typename New>
  static bool replace(Held& held, const New& value) {
    if (held == value) return false;
    held = value;
    return true;
  }

  int class_ = SQLITE_NULL;
  std::int64_t integer_ = 0;
  double real_ = 0;
  std::string text_;
};

/// What a query's sorts go by in the row on which its statement stands: the columns behind the
/// first, which has the key. To begin with, a row in which all of them are absent.
class SortPlace {
 public:
  explicit SortPlace(std::size_t sorts) : contents_(sorts) {}

  /// Goes to the statement's row; false when that is even with the one before.
  bool move(const Statement& statement) {
    bool moved = false;
    for (std::size_t sort = 0; sort < contents_.size(); ++sort) {
      if (contents_[sort].become(statement.cell(static_cast<int>(sort) + 1))) moved = true;
    }
    return moved;
  }

 private:
  absl::InlinedVector<CellContent, 2> contents_;
};

}  // namespace coredata
