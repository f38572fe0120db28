#pragma once

#include <cstdint>
#include <limits>

namespace coredata {

/// The version of a row that is written once more. Behind the largest number, which no row reaches
/// unless somebody else has put it there, comes the first: it differs from the one before, and that
/// is all that telling a conflict takes.
[[nodiscard]] constexpr std::int64_t versionAfter(std::int64_t version) noexcept {
  return version % std::numeric_limits<std::int64_t>::max() + 1;
}

/// The same for the column of an `UPDATE` statement.
inline constexpr char kNextVersion[] = "_version%9223372036854775807+1";

}  // namespace coredata
