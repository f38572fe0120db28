#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "Tools/habits/Answer.h"
#include "Tools/habits/Backup/StoreContent.h"

namespace habits {

/// A backup beside the store in whose place it would be put.
struct Comparison {
  StoreContent backup;
  /// None where there is no store, or none that can be read.
  std::optional<StoreContent> live;
  /// Why it cannot be read; empty when that is not so.
  std::string trouble;

  /// The check-ins that the store has and the backup has not, in order.
  [[nodiscard]] std::vector<CheckinDay> lost() const;
  /// Versions, numbers and newest check-ins side by side, and what would be lost.
  [[nodiscard]] std::string text() const;
  [[nodiscard]] foundation::ValueDictionary data() const;
};

}  // namespace habits
