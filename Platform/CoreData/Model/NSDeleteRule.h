#pragma once

#include <cstdint>

namespace coredata {

/// What deleting an object does to the objects that a relationship of it leads to.
enum class NSDeleteRule : std::uint8_t {
  /// Nothing; the other side keeps a reference that leads nowhere, and reads as absent.
  noAction = 0,
  /// The other side forgets the deleted object.
  nullify = 1,
  /// The other side is deleted too.
  cascade = 2,
  /// The deletion is refused, at save, while the relationship leads anywhere.
  deny = 3,
};

}  // namespace coredata
