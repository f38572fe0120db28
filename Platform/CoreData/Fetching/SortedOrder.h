#pragma once

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <span>
#include <utility>
#include <vector>

#include "CoreData/Fetching/FetchPlan.h"
#include "CoreData/Fetching/SortCell.h"

namespace coredata {

/// Puts items in the order of their ranks, in time that grows with their number alone, and keeps
/// the order of those of equal rank. `ranks` is by item; `scratch` is at least as long as `items`.
void sortByRank(std::span<std::uint32_t> items, std::span<const std::uint64_t> ranks,
                std::span<std::uint32_t> scratch) noexcept;

/// Finds the order of things that are numbered from 0: `cellOf(item, sort)` gives the value of an
/// item in the sort of that number.
///
/// Takes sixteen bytes an item. Threading: one thread.
template <typename CellOf>
class SortedOrder {
 public:
  SortedOrder(std::span<const SortTerm> sorts, CellOf cellOf)
      : sorts_(sorts), cellOf_(std::move(cellOf)) {}

  /// The items by the sorts, those that are even in all of them by number.
  [[nodiscard]] std::vector<std::uint32_t> of(std::size_t count) && {
    std::vector<std::uint32_t> items(count);
    std::iota(items.begin(), items.end(), 0U);
    if (count >= kFew) {
      ranks_.resize(count);
      scratch_.resize(count);
    }
    sort(items, 0);
    return items;
  }

 private:
  /// Below this number comparing is faster than ranking.
  static constexpr std::size_t kFew = 256;

  void sort(std::span<std::uint32_t> items, std::size_t first) {
    if (first == sorts_.size() || items.size() < 2) return;
    if (items.size() < kFew) return compareFrom(items, first);
    const bool isExact = rank(items, first);
    sortByRank(items, ranks_, scratch_);
    if (isExact && first + 1 == sorts_.size()) return;
    forEachEven(items, [&](std::span<std::uint32_t> even) {
      isExact ? sort(even, first + 1) : compareFrom(even, first);
    });
  }

  bool rank(std::span<const std::uint32_t> items, std::size_t sort) {
    CellRanks ranks;
    for (const std::uint32_t item : items) ranks.survey(cellOf_(item, sort));
    const std::uint64_t turn = sorts_[sort].ascending ? 0 : ~std::uint64_t{0};
    for (const std::uint32_t item : items) ranks_[item] = ranks.rank(cellOf_(item, sort)) ^ turn;
    return ranks.areExact();
  }

  template <typename Visit>
  void forEachEven(std::span<std::uint32_t> items, Visit visit) {
    for (auto first = items.begin(); first != items.end();) {
      const std::uint64_t rank = ranks_[*first];
      const auto last = std::find_if(first + 1, items.end(),
                                     [&](std::uint32_t item) { return ranks_[item] != rank; });
      visit(std::span<std::uint32_t>(first, last));
      first = last;
    }
  }

  void compareFrom(std::span<std::uint32_t> items, std::size_t first) {
    const auto isBefore = [&](std::uint32_t left, std::uint32_t right) {
      const auto order = compare(left, right, first);
      return order != 0 ? order < 0 : left < right;
    };
    // Often they came in order.
    if (!std::ranges::is_sorted(items, isBefore)) std::ranges::sort(items, isBefore);
  }

  [[nodiscard]] std::weak_ordering compare(std::uint32_t left, std::uint32_t right,
                                           std::size_t first) const {
    for (std::size_t sort = first; sort < sorts_.size(); ++sort) {
      const auto order = compareCells(cellOf_(left, sort), cellOf_(right, sort));
      if (order != 0) return sorts_[sort].ascending ? order : 0 <=> order;
    }
    return std::weak_ordering::equivalent;
  }

  std::span<const SortTerm> sorts_;
  CellOf cellOf_;
  std::vector<std::uint64_t> ranks_;
  std::vector<std::uint32_t> scratch_;
};

}  // namespace coredata
