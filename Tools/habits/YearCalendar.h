#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "Tools/habits/Day.h"

namespace habits {

/// How a day of a calendar is drawn.
enum class Shade : std::uint8_t { empty, low, medium, high, other };

/// A year as a grid of weeks and weekdays, one place a day, with the names of the months above and
/// the meaning of the shades below. In colour the shades are colours of a terminal.
[[nodiscard]] std::string yearCalendar(std::chrono::year year,
                                       const std::function<Shade(const Day&)>& shadeOf,
                                       bool inColor);

}  // namespace habits
