#pragma once

#include <cstdint>

namespace domain {

/// What a user of the application may do.
class UserType {
 public:
  enum class Case : std::uint8_t { standard, premium };
  using enum Case;

  // NOLINTBEGIN(google-explicit-constructor): a case is a value, and a value is switched over
  constexpr UserType(Case which) noexcept : case_(which) {}
  constexpr operator Case() const noexcept { return case_; }
  // NOLINTEND(google-explicit-constructor)

  /// Whether goals of a month or a year count for the user. Cases come in pairs, each without and
  /// then with the long goals; whoever adds types keeps to that.
  [[nodiscard]] constexpr bool mayHaveLongGoals() const noexcept {
    return (static_cast<unsigned>(case_) & 1U) != 0;
  }

 private:
  Case case_;
};

}  // namespace domain
