#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "Foundation/Values/Date.h"

namespace habits {

/// A day of the calendar that command lines are written in, which is the Gregorian one whatever the
/// user's.
using Day = std::chrono::year_month_day;

/// The local day on which a date falls.
[[nodiscard]] Day dayOf(const foundation::Date& date);
/// Noon of a local day: an instant that no change of the clock moves to another day. None for a day
/// that the zone left out.
[[nodiscard]] std::optional<foundation::Date> noonOf(const Day& day);

/// The day that "YYYY-MM-DD" stands for; none for any other text.
[[nodiscard]] std::optional<Day> plainDay(std::string_view text);
/// The day of this century that "MM/DD/YY" stands for; none for any other text.
[[nodiscard]] std::optional<Day> monthFirstDay(std::string_view text);

/// The day that "YYYY-MM-DD" stands for, as an instant in it; now when nothing is given. A day in
/// the form in which the program writes it to the user is understood as well. Throws `UsageError`.
[[nodiscard]] foundation::Date dayArgument(const std::optional<std::string>& text);

}  // namespace habits
