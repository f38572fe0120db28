#include "Tools/salvage/StoredTables.h"

#include <algorithm>
#include <limits>

#include "Tools/salvage/Record.h"

namespace salvage {

using coredata::StoredRow;
using coredata::StoredValue;
using Kind = StoredValue::Kind;

namespace {

// The columns of the list: type, name, tbl_name, rootpage, sql.
constexpr std::size_t kListColumns = 5;
constexpr std::size_t kName = 1;
constexpr std::size_t kRoot = 3;
constexpr std::size_t kSql = 4;

bool isTable(StoredRow row) {
  return row[0].content == "table" && row[kName].kind == Kind::text &&
         row[kRoot].kind == Kind::integer && row[kRoot].integer > 0 &&
         row[kRoot].integer <= std::numeric_limits<PageNumber>::max() &&
         row[kSql].kind == Kind::text;
}

void addTables(const PageFile& file, PageNumber number, PageSet& overflow, StoredTables& tables) {
  const TablePage page(file.page(number), number);
  RecordReader record(file);
  for (std::size_t i = 0; i < page.cellCount(); ++i) {
    const auto cell = page.row(i);
    const auto shape = cell ? RecordShape::of(*cell) : std::nullopt;
    if (!shape || shape->columns().size() != kListColumns) continue;
    if (shape->columns()[0].kind != Kind::text) continue;
    record.read(*cell, *shape, overflow);
    const StoredRow row = record.values();
    if (!isTable(row)) continue;
    tables.emplace(row[kName].content,
                   StoredTable{.root = static_cast<PageNumber>(row[kRoot].integer),
                               .sql = std::string(row[kSql].content)});
  }
}

}  // namespace

StoredTables storedTables(const PageFile& file) {
  StoredTables tables;
  PageSet taken(file);
  const TreeLeaves leaves = leavesOf(file, 1, taken);
  for (const PageNumber page : leaves.pages) addTables(file, page, taken, tables);
  if (leaves.lost == 0 && leaves.doubtful.empty() && !tables.empty()) return tables;
  for (PageNumber page = 1; page <= file.pageCount(); ++page) {
    if (TablePage(file.page(page), page).isLeaf()) addTables(file, page, taken, tables);
  }
  return tables;
}

TreeLeaves leavesOf(const PageFile& file, PageNumber root, PageSet& taken) {
  TreeLeaves leaves;
  std::vector<PageNumber> left{root};
  while (!left.empty()) {
    const PageNumber number = left.back();
    left.pop_back();
    const TablePage page(file.page(number), number);
    if (!taken.add(number)) {
      ++leaves.lost;
    } else if (!page.isLeaf() && !page.isInner()) {
      leaves.doubtful.push_back(number);
    } else if (page.isLeaf()) {
      leaves.pages.push_back(number);
    } else {
      const auto children = page.children();
      left.insert(left.end(), children.rbegin(), children.rend());
    }
  }
  return leaves;
}

std::vector<PageNumber> freePages(const PageFile& file) {
  // trunk := next:u32 count:u32 page:u32*
  constexpr std::size_t kFirstTrunk = 32;
  constexpr std::size_t kCount = 36;
  constexpr std::size_t kNumber = 4;
  const Bytes header = file.page(1);
  if (header.empty()) return {};
  const auto numberAt = [](Bytes bytes, std::size_t offset) {
    return static_cast<PageNumber>(bigEndian(bytes.subspan(offset, kNumber)));
  };
  std::vector<PageNumber> pages;
  PageSet seen(file);
  const auto add = [&](PageNumber page) {
    const bool isNew = seen.add(page);
    if (isNew) pages.push_back(page);
    return isNew;
  };
  for (PageNumber trunk = numberAt(header, kFirstTrunk); add(trunk);) {
    const Bytes page = file.page(trunk);
    const std::size_t room = page.size() / kNumber - 2;
    const std::size_t count = std::min<std::size_t>(numberAt(page, kNumber), room);
    for (std::size_t i = 0; i < count; ++i) add(numberAt(page, (i + 2) * kNumber));
    trunk = numberAt(page, 0);
  }
  return pages.size() == numberAt(header, kCount) ? pages : std::vector<PageNumber>();
}

}  // namespace salvage
