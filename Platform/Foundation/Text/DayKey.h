#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "Foundation/Values/Date.h"

namespace foundation {

struct Environment;

/// A local calendar day as text ("2024-02-10"): what a `DateFormatter` with the pattern
/// "yyyy-MM-dd" writes, to the byte, without its cost. The text lies within the value.
class DayKey {
 public:
  /// The key of the local day that a date falls on, under the settings in force. Takes tens of
  /// nanoseconds where the calendar is Gregorian and the digits are Latin.
  explicit DayKey(const Date& date);

  [[nodiscard]] std::string_view text() const noexcept { return {text_.data(), size_}; }
  /// The key of its month ("2024-02"), as the pattern "yyyy-MM" writes it.
  [[nodiscard]] std::string_view month() const noexcept { return {text_.data(), monthSize_}; }
  /// The key of its year ("2024"), as the pattern "yyyy" writes it.
  [[nodiscard]] std::string_view year() const noexcept { return {text_.data(), yearSize_}; }
  [[nodiscard]] std::string string() const { return std::string(text()); }

  friend bool operator==(const DayKey& a, const DayKey& b) noexcept { return a.text() == b.text(); }

 private:
  friend class DateFormatter;

  DayKey(const Environment& environment, const Date& date);
  void set(std::string_view text);

  /// Seven digits of a year and four more, each of four bytes in some scripts, and room for a leap
  /// month's mark.
  static constexpr std::size_t kCapacity = 61;

  std::array<char, kCapacity> text_;
  std::uint8_t size_;
  std::uint8_t monthSize_;
  std::uint8_t yearSize_;
};

}  // namespace foundation
