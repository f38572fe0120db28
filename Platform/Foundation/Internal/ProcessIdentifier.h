#pragma once

#include <cstdint>

namespace foundation {

/// The number by which the system knows this process. Asked anew at each call, so that it is right
/// after a fork.
[[nodiscard]] std::int32_t processIdentifier() noexcept;

}  // namespace foundation
