#pragma once

#include <map>
#include <string>
#include <vector>

#include "Tools/salvage/PageFile.h"

namespace salvage {

/// A table as the file's list of tables has it.
struct StoredTable {
  PageNumber root = 0;
  /// The statement that makes it.
  std::string sql;
};
using StoredTables = std::map<std::string, StoredTable>;

/// The list of tables, from the tree that begins on the first page; where that tree is damaged also
/// from whatever page looks like a part of it.
[[nodiscard]] StoredTables storedTables(const PageFile& file);

/// The leaves of a table's tree, in the order of keys.
struct TreeLeaves {
  std::vector<PageNumber> pages;
  /// Pages that the tree leads to although they are none of a table, by their first byte.
  std::vector<PageNumber> doubtful;
  /// Pages of the tree that are not there or belong to another.
  std::size_t lost = 0;
};

/// Walks a tree. Pages in `taken` belong to others; those of this tree are added.
[[nodiscard]] TreeLeaves leavesOf(const PageFile& file, PageNumber root, PageSet& taken);

/// The pages that the file says hold nothing; none when their number is not what the header says.
[[nodiscard]] std::vector<PageNumber> freePages(const PageFile& file);

}  // namespace salvage
