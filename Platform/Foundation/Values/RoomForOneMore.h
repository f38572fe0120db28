#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace foundation {

/// Makes the next element that is added to the vector take no memory: what must not stop half-way
/// makes all its room first. It grows as by adding.
template <typename T>
void makeRoomForOneMore(std::vector<T>& vector) {
  constexpr std::size_t kSmallest = 4;
  if (vector.size() == vector.capacity()) {
    vector.reserve(std::max(kSmallest, 2 * vector.capacity()));
  }
}

}  // namespace foundation
