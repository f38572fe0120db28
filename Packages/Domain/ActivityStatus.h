#pragma once

#include <cstdint>

namespace domain {

/// Where an activity stands in its life.
class ActivityStatus {
 public:
  enum class Case : std::int16_t {
    active = 0,     ///< being practised
    achieved = 1,   ///< its goal was reached
    archived = -1,  ///< put away without having been reached
  };
  using enum Case;

  // NOLINTBEGIN(google-explicit-constructor): a case is a value, and a value is switched over
  constexpr ActivityStatus(Case which) noexcept : case_(which) {}
  constexpr operator Case() const noexcept { return case_; }
  // NOLINTEND(google-explicit-constructor)

  /// The number under which the status is stored and compared.
  [[nodiscard]] constexpr std::int16_t value() const noexcept {
    return static_cast<std::int16_t>(case_);
  }

 private:
  Case case_;
};

}  // namespace domain
