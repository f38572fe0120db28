#pragma once

#include <cstddef>
#include <vector>

namespace migrating {

/// How often the tests of this folder try: as the environment's `MIGRATION_FAULTS` says, "full" or
/// "all", and otherwise as often as a quick run has the time for.
[[nodiscard]] std::size_t tries(std::size_t quick, std::size_t full);

/// At most so many of the points 1 to `count`, spread evenly, the first and the last among them;
/// every one for "all".
[[nodiscard]] std::vector<std::size_t> points(std::size_t count, std::size_t quick,
                                              std::size_t full);

}  // namespace migrating
