#pragma once

#include <array>
#include <cstdint>

namespace domain {

/// A day of the week. Sets of days are stored as bits, and the order of the cases is the order of
/// those bits: it must never change.
class DayOfWeek {
 public:
  enum class Case : std::uint8_t { sunday, monday, tuesday, wednesday, thursday, friday, saturday };
  using enum Case;

  // NOLINTBEGIN(google-explicit-constructor): a case is a value, and a value is switched over
  constexpr DayOfWeek(Case which) noexcept : case_(which) {}
  constexpr operator Case() const noexcept { return case_; }
  // NOLINTEND(google-explicit-constructor)

  /// Every day, Sunday first.
  [[nodiscard]] static constexpr std::array<DayOfWeek, 7> allCases() noexcept {
    return {sunday, monday, tuesday, wednesday, thursday, friday, saturday};
  }
  /// The set of all days.
  static constexpr std::int16_t everyday = 127;

  /// The set of this day alone: 1 for Sunday to 64 for Saturday.
  [[nodiscard]] constexpr std::int16_t bit() const noexcept {
    return static_cast<std::int16_t>(1 << static_cast<int>(case_));
  }

 private:
  Case case_;
};

}  // namespace domain
