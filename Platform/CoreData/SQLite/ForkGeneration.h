#pragma once

#include <cstdint>

namespace coredata {

/// How many forks lie between the first process and this one. Locks and connections do not survive
/// a fork; comparing two readings tells whether there was one, at the cost of a load.
[[nodiscard]] std::uint64_t forkGeneration() noexcept;

}  // namespace coredata
