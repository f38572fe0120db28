#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace reliability {

/// The points of a run at which the disk is to fail: a spread over all of them as large as
/// `TEST_EFFORT` asks for, or the one that `DISK_POINT` names.
[[nodiscard]] std::vector<std::size_t> diskPoints(std::size_t count, std::size_t quick,
                                                  std::size_t full);

/// The command by which the running test does this point alone.
[[nodiscard]] std::string repeatedBy(std::size_t point);

}  // namespace reliability
