#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "Tests/Support/EnvironmentSetting.h"  // IWYU pragma: export

namespace support {

/// How often tests that hit many points try: as the environment's `TEST_EFFORT` says, "full" or
/// "all", and otherwise as often as a quick run has the time for.
[[nodiscard]] std::size_t tries(std::size_t quick, std::size_t full);
/// The same where "all" is another number than "full".
[[nodiscard]] std::size_t tries(std::size_t quick, std::size_t full, std::size_t all);

/// At most so many of the points 1 to `count`, spread evenly, the first and the last among them;
/// every one for "all".
[[nodiscard]] std::vector<std::size_t> points(std::size_t count, std::size_t quick,
                                              std::size_t full);

/// At most so many amounts of room from none to `bytes`, of 4,096 that lie evenly between; every
/// one of these for "all".
[[nodiscard]] std::vector<std::int64_t> rooms(std::int64_t bytes, std::size_t quick,
                                              std::size_t full);

}  // namespace support
