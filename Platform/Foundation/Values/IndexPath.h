#pragma once

#include <compare>
#include <cstddef>

namespace foundation {

/// The place of an element in a list that is cut into sections; both are counted from 0.
struct IndexPath {
  std::size_t section = 0;
  std::size_t item = 0;

  friend constexpr auto operator<=>(const IndexPath&, const IndexPath&) noexcept = default;
};

}  // namespace foundation
