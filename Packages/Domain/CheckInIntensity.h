#pragma once

#include <cstdint>

namespace domain {

/// How strongly a day is drawn in a calendar.
enum class CheckInIntensity : std::uint8_t { none, low, medium, high };

}  // namespace domain
