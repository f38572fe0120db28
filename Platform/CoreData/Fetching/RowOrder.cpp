#include "CoreData/Fetching/RowOrder.h"

#include <algorithm>

#include "CoreData/Fetching/SortedOrder.h"

namespace coredata {

using foundation::Ref;

namespace {

SortCell cellOf(const Row& row, const SortTerm& sort) noexcept {
  return sort.path.end == ResolvedPath::End::slot ? SortCell::of(row, sort.path.slot)
                                                  : SortCell::reference(row.key());
}

struct InKeyOrder {
  bool operator()(const Ref<Row>& left, const Ref<Row>& right) const noexcept {
    return compareKeys(left->key(), right->key()) < 0;
  }
};

}  // namespace

std::weak_ordering compareRows(const Row& left, const Row& right,
                               std::span<const SortTerm> sorts) noexcept {
  for (const SortTerm& sort : sorts) {
    const auto order = compareCells(cellOf(left, sort), cellOf(right, sort));
    if (order != 0) return sort.ascending ? order : 0 <=> order;
  }
  return std::weak_ordering::equivalent;
}

void sortRows(std::vector<Ref<Row>>& rows, std::span<const SortTerm> sorts) {
  if (!std::ranges::is_sorted(rows, InKeyOrder())) std::ranges::sort(rows, InKeyOrder());
  if (sorts.empty()) return;
  const auto valueOf = [&](std::uint32_t row, std::size_t sort) {
    return cellOf(*rows[row], sorts[sort]);
  };
  const std::vector<std::uint32_t> order = SortedOrder(sorts, valueOf).of(rows.size());
  std::vector<Ref<Row>> ordered;
  ordered.reserve(rows.size());
  for (const std::uint32_t row : order) ordered.push_back(std::move(rows[row]));
  rows = std::move(ordered);
}

void sortTies(std::span<Ref<Row>> rows, std::span<const SortTerm> sorts) {
  const auto areEven = [&](const Ref<Row>& left, const Ref<Row>& right) {
    return compareRows(*left, *right, sorts) == 0;
  };
  // Rows whose keys ascend are in order, even or not, and most are: they were written day by day.
  for (std::size_t i = 1; i < rows.size(); ++i) {
    if (InKeyOrder()(rows[i - 1], rows[i]) || !areEven(rows[i - 1], rows[i])) continue;
    std::size_t first = i - 1;
    while (first > 0 && areEven(rows[first - 1], rows[i])) --first;
    std::size_t last = i + 1;
    while (last < rows.size() && areEven(rows[i], rows[last])) ++last;
    std::ranges::sort(rows.subspan(first, last - first), InKeyOrder());
    i = last - 1;
  }
}

}  // namespace coredata
