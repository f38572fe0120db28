#pragma once

#include <compare>
#include <span>
#include <vector>

#include "CoreData/Fetching/FetchPlan.h"
#include "CoreData/Rows/Row.h"

namespace coredata {

/// The order of two rows of one entity by sorts that read the rows themselves: absent values before
/// all others, texts and bytes by bytes, references by key; each sort turned round when it
/// descends.
[[nodiscard]] std::weak_ordering compareRows(const Row& left, const Row& right,
                                             std::span<const SortTerm> sorts) noexcept;

/// The order of ties: stored objects by key, then those never saved as they were made; their keys
/// descend.
[[nodiscard]] std::strong_ordering compareKeys(ObjectKey left, ObjectKey right) noexcept;

/// Sorts rows of one entity by `compareRows`, ties by `compareKeys`. Numbers, and texts that differ
/// soon behind what all of them begin with, are sorted in time that grows with the rows alone.
void sortRows(std::vector<foundation::Ref<Row>>& rows, std::span<const SortTerm> sorts);

}  // namespace coredata
