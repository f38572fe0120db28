#pragma once

#include <compare>
#include <span>
#include <vector>

#include "CoreData/Fetching/FetchPlan.h"
#include "CoreData/Fetching/SortCell.h"
#include "CoreData/Rows/Row.h"

namespace coredata {

/// The order of two rows of one entity by sorts that read the rows themselves: that of
/// `compareCells`, turned round where a sort descends.
[[nodiscard]] std::weak_ordering compareRows(const Row& left, const Row& right,
                                             std::span<const SortTerm> sorts) noexcept;

/// Sorts rows of one entity by `compareRows`, ties by `compareKeys`. Numbers, and texts that differ
/// soon behind what all of them begin with, are sorted in time that grows with the rows alone.
void sortRows(std::vector<foundation::Ref<Row>>& rows, std::span<const SortTerm> sorts);
/// The same for rows that are in the order of `compareRows` already, but for ties.
void sortTies(std::span<foundation::Ref<Row>> rows, std::span<const SortTerm> sorts);

}  // namespace coredata
