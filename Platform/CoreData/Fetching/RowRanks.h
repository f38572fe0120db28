#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "CoreData/Fetching/FetchPlan.h"
#include "CoreData/Rows/Row.h"

namespace coredata {

/// A row and a number that stands for its value in one sort.
struct RankedRow {
  std::uint64_t rank;
  Row* row;
};

/// Gives each row a rank that is less than another's only where its value comes first; of texts the
/// eight bytes that follow what all of them begin with. True when rows of equal rank are even.
[[nodiscard]] bool rankRows(std::span<RankedRow> rows, const SortTerm& sort) noexcept;

/// Sorts by rank, in time that grows with the number of rows alone, and keeps the order of equal
/// ones. `scratch` is at least as long.
void sortRanked(std::span<RankedRow> rows, std::vector<RankedRow>& scratch) noexcept;

}  // namespace coredata
