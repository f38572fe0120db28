#include "CoreData/Fetching/RowOrder.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

#include "CoreData/Fetching/RowRanks.h"

namespace coredata {

using foundation::Ref;

namespace {

std::weak_ordering compareBytes(std::span<const std::uint8_t> left,
                                std::span<const std::uint8_t> right) noexcept {
  const std::size_t common = std::min(left.size(), right.size());
  const int order = common == 0 ? 0 : std::memcmp(left.data(), right.data(), common);
  return order != 0 ? order <=> 0 : left.size() <=> right.size();
}

std::weak_ordering compareReals(double left, double right) noexcept {
  // A row never holds not-a-number.
  if (left < right) return std::weak_ordering::less;
  return left > right ? std::weak_ordering::greater : std::weak_ordering::equivalent;
}

/// Ascending. Within a slot every value that is there is of the slot's kind.
std::weak_ordering compareSlots(const Row& left, const Row& right, SlotIndex slot) noexcept {
  if (left.tag(slot) != right.tag(slot)) return left.tag(slot) <=> right.tag(slot);
  switch (left.tag(slot)) {
    case SlotTag::none:
      return std::weak_ordering::equivalent;
    case SlotTag::integer:
      return left.integer(slot) <=> right.integer(slot);
    case SlotTag::real:
    case SlotTag::date:
      return compareReals(left.real(slot), right.real(slot));
    case SlotTag::text:
      return left.text(slot) <=> right.text(slot);
    case SlotTag::bytes:
      return compareBytes(left.bytes(slot), right.bytes(slot));
    case SlotTag::identifier:
      return left.identifier(slot).bytes() <=> right.identifier(slot).bytes();
    case SlotTag::reference:
      return compareKeys(left.reference(slot), right.reference(slot));
  }
  return std::weak_ordering::equivalent;
}

struct InKeyOrder {
  bool operator()(const Ref<Row>& left, const Ref<Row>& right) const noexcept {
    return compareKeys(left->key(), right->key()) < 0;
  }
};

/// Below this number comparing is faster than ranking.
constexpr std::size_t kFew = 256;

/// Keeps the order of even rows.
void sortByComparing(std::span<RankedRow> rows, std::span<const SortTerm> sorts) {
  std::ranges::stable_sort(rows, [&](const RankedRow& a, const RankedRow& b) {
    return compareRows(*a.row, *b.row, sorts) < 0;
  });
}

/// Keeps the order of even rows. Those that one sort cannot tell apart are left to the next.
void sortByRanks(std::span<RankedRow> rows, std::span<const SortTerm> sorts,
                 std::vector<RankedRow>& scratch) {
  if (sorts.empty() || rows.size() < 2) return;
  if (rows.size() < kFew) {
    sortByComparing(rows, sorts);
    return;
  }
  const bool isExact = rankRows(rows, sorts.front());
  sortRanked(rows, scratch);
  for (auto first = rows.begin(); first != rows.end();) {
    const auto last = std::find_if(first, rows.end(),
                                   [&](const RankedRow& each) { return each.rank != first->rank; });
    const std::span<RankedRow> even(first, last);
    if (isExact) {
      sortByRanks(even, sorts.subspan(1), scratch);
    } else if (even.size() > 1) {
      sortByComparing(even, sorts);
    }
    first = last;
  }
}

}  // namespace

std::weak_ordering compareRows(const Row& left, const Row& right,
                               std::span<const SortTerm> sorts) noexcept {
  for (const SortTerm& sort : sorts) {
    const std::weak_ordering order = sort.path.end != ResolvedPath::End::slot
                                         ? std::weak_ordering(compareKeys(left.key(), right.key()))
                                         : compareSlots(left, right, sort.path.slot);
    if (order != 0) return sort.ascending ? order : 0 <=> order;
  }
  return std::weak_ordering::equivalent;
}

std::strong_ordering compareKeys(ObjectKey left, ObjectKey right) noexcept {
  if (isTemporary(left) != isTemporary(right)) return isTemporary(left) <=> isTemporary(right);
  return isTemporary(left) ? right <=> left : left <=> right;
}

void sortRows(std::vector<Ref<Row>>& rows, std::span<const SortTerm> sorts) {
  if (!std::ranges::is_sorted(rows, InKeyOrder())) std::ranges::sort(rows, InKeyOrder());
  if (sorts.empty()) return;
  std::vector<RankedRow> ranked;
  std::vector<Ref<Row>> ordered;
  ranked.reserve(rows.size());
  ordered.reserve(rows.size());
  for (Ref<Row>& row : rows) ranked.push_back({0, row.get()});
  std::vector<RankedRow> scratch(rows.size());
  sortByRanks(ranked, sorts, scratch);
  for (const RankedRow& each : ranked) ordered.push_back(Ref<Row>::adopt(each.row));
  // The handles have moved over without being counted again.
  for (Ref<Row>& row : rows) static_cast<void>(row.leak());
  rows = std::move(ordered);
}

}  // namespace coredata
