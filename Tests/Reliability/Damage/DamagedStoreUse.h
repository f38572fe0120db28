#pragma once

#include <optional>
#include <string>

#include "Tests/Reliability/Damage/StoreSample.h"

namespace damage {

/// What came of a damaged store that all was done with which people do: looked at, salvaged, opened
/// by the application, read, and given one more check-in.
struct Use {
  /// What the application saw; none when it was refused, at opening or reading it.
  std::optional<std::string> seen;
  /// The content's hash as `storecheck` finds it; none when it was refused or is not all readable.
  std::optional<std::string> looked;
  /// The content's hash of the store that was salvaged; none when there was nothing to salvage.
  std::optional<std::string> salvaged;
  bool isSaved = false;

  /// In a few words, for a tally.
  [[nodiscard]] std::string outcome() const;
};

/// Throws `std::runtime_error` where anything does what it must not: an error of another form than
/// the contract's, a look or a salvage that changes a file, a salvaged store that is not sound.
[[nodiscard]] Use useStore(const StoreSample& sample);

}  // namespace damage
