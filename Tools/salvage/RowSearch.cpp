#include "Tools/salvage/RowSearch.h"

#include <algorithm>
#include <tuple>

namespace salvage {

using coredata::NSEntityDescription;
using coredata::NSRelationshipDescription;
using coredata::ObjectKey;
using coredata::Row;
using coredata::SlotIndex;
using foundation::Ref;

namespace {

/// No store comes near it, and those who go on counting from it do not reach the end.
constexpr ObjectKey kHighestKey = ObjectKey{1} << 47;

bool isKey(ObjectKey key) { return key > coredata::kNoObject && key <= kHighestKey; }

/// How many rows of a page have an entity's shape.
std::size_t fittingRows(const TablePage& page, const NSEntityDescription& entity) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < page.cellCount(); ++i) {
    const auto cell = page.row(i);
    const auto shape = cell ? RecordShape::of(*cell) : std::nullopt;
    if (shape && isKey(cell->key) && hasValuesOf(entity, *shape)) ++count;
  }
  return count;
}

}  // namespace

FoundRows::FoundRows(const NSEntityDescription& entity) : entity_(&entity) {
  report.name = entity.name();
}

std::size_t FoundRows::find(ObjectKey key) const {
  const auto place = std::ranges::lower_bound(places_, key, {}, &RowPlace::key);
  const bool isThere = place != places_.end() && place->key == key;
  return isThere ? static_cast<std::size_t>(place - places_.begin()) : places_.size();
}

std::size_t FoundRows::toOneNumber(SlotIndex slot) const {
  const auto slots = entity_->toOneSlots();
  return static_cast<std::size_t>(std::ranges::find(slots, slot) - slots.begin());
}

void FoundRows::add(RowPlace place, const Row& row) {
  place.links = links_.size();
  for (const SlotIndex slot : entity_->toOneSlots()) links_.push_back(row.reference(slot));
  places_.push_back(place);
}

void FoundRows::settle() {
  std::ranges::sort(places_, {}, [](const RowPlace& place) {
    return std::tuple(place.key, place.isStray, -place.version);
  });
  const auto repeatsLast = [](const RowPlace& last, const RowPlace& place) {
    return last.key == place.key;
  };
  for (std::size_t i = 1; i < places_.size(); ++i) {
    // An older state of a row is no row; two in one table are.
    if (!repeatsLast(places_[i - 1], places_[i]) || places_[i].isStray) continue;
    report.lose({}, LossReason::repeatedKey);
    ++report.found;
  }
  const auto repeated = std::ranges::unique(places_, repeatsLast);
  places_.erase(repeated.begin(), repeated.end());
  report.strays = std::ranges::count_if(places_, &RowPlace::isStray);
  report.found += std::ssize(places_);
}

RowSearch::RowSearch(const PageFile& file, const StoredTables& tables,
                     const coredata::NSManagedObjectModel& model)
    : file_(file), record_(file), taken_(file) {
  for (const NSEntityDescription* entity : model.entities()) {
    if (!entity->isAbstract()) entities_.emplace_back(*entity);
  }
  static_cast<void>(leavesOf(file_, 1, taken_));
  for (const auto& [name, table] : tables) {
    if (std::ranges::none_of(entities_,
                             [&](const FoundRows& rows) { return rows.report.name == name; }))
      static_cast<void>(leavesOf(file_, table.root, taken_));
  }
  for (FoundRows& rows : entities_) searchTable(rows, tables);
  // After the tables: a list that is wrong must not take a page from one.
  for (const PageNumber page : freePages(file_)) taken_.add(page);
  searchStrays();
  settle();
}

void RowSearch::searchTable(FoundRows& rows, const StoredTables& tables) {
  const auto table = tables.find(rows.report.name);
  rows.report.isUnlisted = table == tables.end();
  if (rows.report.isUnlisted) return;
  const TreeLeaves leaves = leavesOf(file_, table->second.root, taken_);
  rows.report.lostPages = static_cast<std::int64_t>(leaves.lost);
  // A table without rows is one empty leaf.
  const bool mayBeEmpty = leaves.pages.size() == 1 && leaves.doubtful.empty();
  const auto read = [&](PageNumber page) {
    if (readPage(rows, page, false) > 0) return;
    if (mayBeEmpty && TablePage(file_.page(page), page).cellCount() == 0) return;
    ++rows.report.lostPages;
    doubtful_.push_back(page);
  };
  std::ranges::for_each(leaves.pages, read);
  std::ranges::for_each(leaves.doubtful, read);
}

void RowSearch::searchStrays() {
  std::vector<FoundRows*> candidates;
  for (FoundRows& rows : entities_) {
    if (rows.report.isUnlisted || rows.report.lostPages > 0) candidates.push_back(&rows);
  }
  if (candidates.empty()) return;
  std::vector<Stray> undecided;
  const auto look = [&](PageNumber page) {
    if (!TablePage(file_.page(page), page).isLeaf()) return;
    auto owners = ownersOf(page, candidates);
    if (owners.size() == 1) readPage(*owners.front(), page, true);
    if (owners.size() > 1) undecided.push_back({page, std::move(owners)});
  };
  for (PageNumber page = 1; page <= file_.pageCount(); ++page) {
    if (!taken_.contains(page)) look(page);
  }
  std::ranges::for_each(doubtful_, look);
  std::ranges::for_each(
      entities_, [](FoundRows& rows) { std::ranges::sort(rows.places_, {}, &RowPlace::key); });
  std::vector<FoundRows*> owners;
  owners.reserve(undecided.size());
  for (const Stray& stray : undecided) owners.push_back(ownerByLinks(stray));
  for (std::size_t i = 0; i < undecided.size(); ++i) {
    if (owners[i] == nullptr) {
      ++unknownPages_;
    } else {
      readPage(*owners[i], undecided[i].page, true);
    }
  }
}

std::vector<FoundRows*> RowSearch::ownersOf(PageNumber number,
                                            std::span<FoundRows* const> candidates) const {
  const TablePage page(file_.page(number), number);
  std::vector<FoundRows*> owners;
  // More than half of what is on the page must be its rows.
  std::size_t most = page.cellCount() / 2;
  for (FoundRows* rows : candidates) {
    const std::size_t count = fittingRows(page, rows->entity());
    if (count > most) owners.clear();
    if (count > most || (count == most && !owners.empty())) owners.push_back(rows);
    most = std::max(most, count);
  }
  return owners;
}

FoundRows* RowSearch::ownerByLinks(const Stray& stray) {
  FoundRows* owner = nullptr;
  std::size_t most = 0;
  for (FoundRows* rows : stray.mayBeOf) {
    const std::size_t count = linksBack(stray.page, *rows);
    if (count > most) owner = rows;
    if (count == most) owner = nullptr;
    most = std::max(most, count);
  }
  return owner;
}

std::size_t RowSearch::linksBack(PageNumber number, FoundRows& rows) {
  const TablePage page(file_.page(number), number);
  std::size_t count = 0;
  for (std::size_t i = 0; i < page.cellCount(); ++i) {
    const auto cell = page.row(i);
    const auto shape = cell ? RecordShape::of(*cell) : std::nullopt;
    if (!shape || !hasValuesOf(rows.entity(), *shape)) continue;
    record_.readAgain(*cell, *shape, 0);
    for (const SlotIndex slot : rows.entity().toOneSlots()) {
      const NSRelationshipDescription& toOne = *rows.entity().slots()[slot].relationship;
      if (!toOne.isOneToOne()) continue;
      FoundRows& others = *std::ranges::find(entities_, &toOne.destinationEntity(),
                                             [](const FoundRows& of) { return &of.entity(); });
      const std::size_t other = others.find(record_.values()[kFirstSlot + slot].integer);
      if (other == others.places().size()) continue;
      const std::size_t back = others.toOneNumber(toOne.inverseRelationship()->slot());
      if (others.target(other, back) == cell->key) ++count;
    }
  }
  return count;
}

std::size_t RowSearch::readPage(FoundRows& rows, PageNumber number, bool isStray) {
  const TablePage page(file_.page(number), number);
  const std::size_t before = rows.places_.size();
  std::int64_t unreadable = 0;
  std::int64_t withoutKey = 0;
  for (std::size_t i = 0; i < page.cellCount(); ++i) {
    const auto cell = page.row(i);
    const auto shape = cell ? RecordShape::of(*cell) : std::nullopt;
    const bool isRow = shape && (isStray ? hasValuesOf(rows.entity(), *shape)
                                         : hasColumnsOf(rows.entity(), *shape));
    if (!isRow) {
      ++unreadable;
    } else if (!isKey(cell->key)) {
      ++withoutKey;
    } else {
      record_.read(*cell, *shape, taken_);
      const Ref<Row> row = madeRow(rows.entity(), cell->key, record_, nullptr);
      rows.add({.key = cell->key,
                .version = row->version(),
                .page = number,
                .cell = static_cast<std::uint16_t>(i),
                .isStray = isStray,
                .overflowPages = static_cast<std::uint32_t>(record_.overflowPages())},
               *row);
    }
  }
  const std::size_t count = rows.places_.size() - before;
  if (count == 0) return 0;
  // What is on a page with none of its rows is not known to be rows.
  if (unreadable > 0) rows.report.losses[{{}, LossReason::unreadableRow}] += unreadable;
  if (withoutKey > 0) rows.report.losses[{{}, LossReason::noKey}] += withoutKey;
  rows.report.found += unreadable + withoutKey;
  return count;
}

void RowSearch::settle() {
  for (FoundRows& rows : entities_) {
    rows.settle();
    for (std::size_t i = 0; i < rows.places_.size(); ++i) {
      const RowPlace& place = rows.places_[i];
      const TablePage page(file_.page(place.page), place.page);
      const auto cell = page.row(place.cell);
      record_.readAgain(*cell, *RecordShape::of(*cell), place.overflowPages);
      static_cast<void>(madeRow(rows.entity(), place.key, record_, &rows.report));
    }
  }
}

Ref<Row> RowSearch::row(FoundRows& rows, std::size_t index) {
  const RowPlace& place = rows.places_[index];
  const TablePage page(file_.page(place.page), place.page);
  const auto cell = page.row(place.cell);
  record_.readAgain(*cell, *RecordShape::of(*cell), place.overflowPages);
  Ref<Row> row = madeRow(rows.entity(), place.key, record_, nullptr);
  const auto slots = rows.entity().toOneSlots();
  for (std::size_t i = 0; i < slots.size(); ++i) {
    const ObjectKey target = rows.target(index, i);
    target == coredata::kNoObject ? row->setNone(slots[i]) : row->setReference(slots[i], target);
  }
  return row;
}

std::size_t countFittingRows(const PageFile& file, const coredata::NSManagedObjectModel& model) {
  std::size_t count = 0;
  for (PageNumber number = 1; number <= file.pageCount(); ++number) {
    const TablePage page(file.page(number), number);
    if (!page.isLeaf()) continue;
    std::size_t most = 0;
    for (const NSEntityDescription* entity : model.entities()) {
      if (!entity->isAbstract()) most = std::max(most, fittingRows(page, *entity));
    }
    count += most;
  }
  return count;
}

}  // namespace salvage
