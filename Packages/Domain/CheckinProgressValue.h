#pragma once

#include <optional>
#include <variant>

namespace domain {

/// How far one day's check-in got towards the day's target.
class CheckinProgressValue {
 public:
  /// A part of the target, below 1. Nothing is checked.
  [[nodiscard]] static constexpr CheckinProgressValue progress(double fraction) noexcept {
    return CheckinProgressValue(Progress{fraction});
  }
  /// The target is reached.
  [[nodiscard]] static constexpr CheckinProgressValue complete() noexcept {
    return CheckinProgressValue(Complete{});
  }
  /// The check-in is none that counts towards the target.
  [[nodiscard]] static constexpr CheckinProgressValue other() noexcept {
    return CheckinProgressValue(Other{});
  }

  /// The fraction of `progress`; none for the other two.
  [[nodiscard]] constexpr std::optional<double> fraction() const noexcept {
    const auto* progress = std::get_if<Progress>(&case_);
    return progress == nullptr ? std::nullopt : std::optional(progress->fraction);
  }
  [[nodiscard]] constexpr bool isComplete() const noexcept {
    return std::holds_alternative<Complete>(case_);
  }
  [[nodiscard]] constexpr bool isOther() const noexcept {
    return std::holds_alternative<Other>(case_);
  }
  /// What to draw: the fraction, or 1 for the other two.
  [[nodiscard]] constexpr double scale() const noexcept { return fraction().value_or(1.0); }

  /// The same case, and equal fractions: one that is not a number equals nothing.
  friend constexpr bool operator==(const CheckinProgressValue&,
                                   const CheckinProgressValue&) noexcept = default;

 private:
  struct Progress {
    double fraction;
    friend constexpr bool operator==(const Progress&, const Progress&) noexcept = default;
  };
  struct Complete {
    friend constexpr bool operator==(const Complete&, const Complete&) noexcept = default;
  };
  struct Other {
    friend constexpr bool operator==(const Other&, const Other&) noexcept = default;
  };
  using Case = std::variant<Progress, Complete, Other>;

  constexpr explicit CheckinProgressValue(Case which) noexcept : case_(which) {}

  Case case_;
};

}  // namespace domain
