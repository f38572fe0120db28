#pragma once

#include <optional>
#include <string>

#include "Foundation/Values/Value.h"

namespace habits {

/// What a command has to say: as text for people, without the newline at its end, and as data for
/// scripts.
struct Answer {
  std::string text;
  foundation::Value data;
  /// What is wrong with the store all the same; the program ends with it.
  std::optional<std::string> trouble = std::nullopt;
};

/// The data as JSON. Whole numbers are written without a point; text that is not UTF-8 is repaired.
[[nodiscard]] std::string json(const foundation::Value& data);

}  // namespace habits
