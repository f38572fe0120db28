#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Foundation/Values/Date.h"

namespace foundation {

struct Environment;

/// Turns dates into texts and back, by a pattern of Unicode's date fields ("yyyy-MM-dd", "HH:mm").
///
/// Locale, calendar and zone are the ones in force when the formatter is made: make one for each
/// use, which costs next to nothing, and the person's settings always apply. Texts are written in
/// the locale's own digits and calendar: "yyyy-MM-dd" gives "2024-02-10" in Korea and "2567-02-10"
/// in Thailand.
///
/// Threading: belongs to one thread at a time.
class DateFormatter {
 public:
  DateFormatter();
  explicit DateFormatter(std::string_view dateFormat) : DateFormatter() {
    setDateFormat(dateFormat);
  }

  void setDateFormat(std::string_view pattern);
  [[nodiscard]] const std::string& dateFormat() const noexcept { return pattern_; }

  [[nodiscard]] std::string string(const Date& date) const;

  /// The date that a text stands for. Nothing is guessed: the whole text must be as this formatter
  /// would write it, in the locale's digits or Latin ones, fields within their range and the day a
  /// real one. An hour ("HH:mm") may also have a single digit.
  ///
  /// Fields that the pattern lacks are the calendar's first: "HH:mm" gives a time on the first day
  /// of year 1. A day without midnight gives its first instant, one with two midnights the earlier.
  [[nodiscard]] std::optional<Date> date(std::string_view text) const;

 private:
  /// The patterns that have a road of their own.
  enum class Form : std::uint8_t { year, month, day, time, other };

  [[nodiscard]] std::optional<Date> plainDate(std::string_view text) const;
  [[nodiscard]] std::optional<Date> gregorianDate(std::string_view text) const;
  [[nodiscard]] std::optional<Date> timeOfFirstDay(std::string_view text) const;

  const Environment* environment_;
  std::string pattern_;
  Form form_ = Form::other;
};

/// The local time of day as "HH:mm": the hour from 00 to 23 whatever the person's preference, in
/// the locale's digits.
[[nodiscard]] std::string asString(const Date& date);

}  // namespace foundation
