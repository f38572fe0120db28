#pragma once

#include <cstdint>

#include "Domain/DateFormat.h"

namespace domain {

/// A year, a month or a day, by its numbers in the user's calendar. Nothing is checked.
class CalendarItem {
 public:
  [[nodiscard]] static constexpr CalendarItem year(std::int64_t year) noexcept {
    return {DateFormat::year, {year, 1, 1}};
  }
  [[nodiscard]] static constexpr CalendarItem month(std::int64_t year,
                                                    std::int64_t month) noexcept {
    return {DateFormat::month, {year, month, 1}};
  }
  [[nodiscard]] static constexpr CalendarItem day(std::int64_t year, std::int64_t month,
                                                  std::int64_t day) noexcept {
    return {DateFormat::day, {year, month, day}};
  }

  /// Which of the three it is, as the format that tells such items apart.
  [[nodiscard]] constexpr DateFormat format() const noexcept { return format_; }

  struct Components {
    std::int64_t year;
    std::int64_t month;
    std::int64_t day;
  };
  /// Its first day.
  [[nodiscard]] constexpr const Components& firstDay() const noexcept { return firstDay_; }

 private:
  constexpr CalendarItem(DateFormat format, Components firstDay) noexcept
      : format_(format), firstDay_(firstDay) {}

  DateFormat format_;
  Components firstDay_;
};

}  // namespace domain
