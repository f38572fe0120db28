#pragma once

#include <cstdint>
#include <optional>

namespace domain {

/// What kind of check-in a day holds: the ordinary one, or another that only says that the day was
/// not forgotten. Queries see the ordinary ones unless asked for more.
class CheckinType {
 public:
  enum class Case : std::int16_t { standard = 0, alternate = 10 };
  using enum Case;

  // NOLINTBEGIN(google-explicit-constructor): a case is a value, and a value is switched over
  constexpr CheckinType(Case which) noexcept : case_(which) {}
  constexpr operator Case() const noexcept { return case_; }
  // NOLINTEND(google-explicit-constructor)

  /// The number under which the type is stored.
  [[nodiscard]] constexpr std::int16_t value() const noexcept {
    return static_cast<std::int16_t>(case_);
  }
  /// The type stored under that number; none for an absent number and for any other.
  [[nodiscard]] static constexpr std::optional<CheckinType> with(
      std::optional<std::int16_t> value) noexcept {
    if (value == CheckinType(standard).value()) return standard;
    if (value == CheckinType(alternate).value()) return alternate;
    return std::nullopt;
  }

 private:
  Case case_;
};

}  // namespace domain
