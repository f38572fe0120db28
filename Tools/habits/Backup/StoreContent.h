#pragma once

#include <compare>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "Foundation/Values/URL.h"

namespace habits {

/// A day of a habit that has a check-in.
struct CheckinDay {
  std::string day;
  std::string habit;
  friend auto operator<=>(const CheckinDay&, const CheckinDay&) = default;
};

/// What a store of any version holds, as far as people care.
struct StoreContent {
  /// Such as "Tessaline 7".
  std::string version;
  /// The store's own, which copies of it share.
  std::string identifier;
  /// How many rows each entity has.
  std::map<std::string, std::int64_t> rows;
  /// Equal for stores with the same content.
  std::string digest;
  /// In order, those of each day by habit.
  std::vector<CheckinDay> checkins;

  [[nodiscard]] std::optional<std::string> newestCheckin() const;
};

/// Looks at all of a store without changing it. Throws `foundation::Error` when it is no store of a
/// version that is known, or when anything in it is out of order.
[[nodiscard]] StoreContent soundContent(const foundation::URL& of);

/// How many there are of something: "1 check-in", "2 check-ins".
[[nodiscard]] std::string checkinsText(std::size_t number);

}  // namespace habits
