#pragma once

#include <cstdint>

namespace coredata {

/// A state of the store as the row cache counts them: it moves on with every commit that the cache
/// hears of.
using CacheEpoch = std::uint64_t;
/// The epoch of a reader that the cache has nothing for.
inline constexpr CacheEpoch kNoEpoch = 0;

}  // namespace coredata
