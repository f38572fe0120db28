#pragma once

#include <cstdint>

namespace domain {

/// How much room a widget takes on the home screen.
class ActivityWidgetSize {
 public:
  enum class Case : std::int16_t { small = 1, medium = 2, large = 3 };
  using enum Case;

  // NOLINTBEGIN(google-explicit-constructor): a case is a value, and a value is switched over
  constexpr ActivityWidgetSize(Case which) noexcept : case_(which) {}
  constexpr operator Case() const noexcept { return case_; }
  // NOLINTEND(google-explicit-constructor)

  /// The number under which the size is stored, never 0.
  [[nodiscard]] constexpr std::int16_t value() const noexcept {
    return static_cast<std::int16_t>(case_);
  }
  /// The size stored under that number. A number that none is stored under reads as the small one,
  /// so that a widget group always has a size that can be drawn.
  [[nodiscard]] static constexpr ActivityWidgetSize with(std::int16_t value) noexcept {
    if (value == ActivityWidgetSize(medium).value()) return medium;
    if (value == ActivityWidgetSize(large).value()) return large;
    return small;
  }

 private:
  Case case_;
};

}  // namespace domain
