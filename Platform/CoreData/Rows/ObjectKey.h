#pragma once

#include <cstdint>

namespace coredata {

/// An object's number inside its entity and store. Stored rows have keys from 1 up, which are never
/// used twice; objects that were never saved have negative ones, unique in the process; 0 is no
/// object.
using ObjectKey = std::int64_t;
inline constexpr ObjectKey kNoObject = 0;

[[nodiscard]] constexpr bool isTemporary(ObjectKey key) noexcept { return key < 0; }

}  // namespace coredata
