#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>

namespace foundation {

/// A boxed number. An absent number and 0 differ, which is what the box is for.
/// Equality is numeric: 1, 1.0 and true are equal.
class NSNumber {
 public:
  enum class Kind : std::uint8_t { boolean, integer, real };

  constexpr explicit NSNumber(bool value) noexcept
      : kind_(Kind::boolean), integer_(value ? 1 : 0) {}
  constexpr explicit NSNumber(int value) noexcept : NSNumber(std::int64_t{value}) {}
  constexpr explicit NSNumber(std::int64_t value) noexcept
      : kind_(Kind::integer), integer_(value) {}
  constexpr explicit NSNumber(double value) noexcept : kind_(Kind::real), real_(value) {}

  [[nodiscard]] constexpr Kind kind() const noexcept { return kind_; }
  [[nodiscard]] constexpr bool isReal() const noexcept { return kind_ == Kind::real; }
  [[nodiscard]] constexpr double doubleValue() const noexcept {
    return isReal() ? real_ : static_cast<double>(integer_);
  }
  [[nodiscard]] constexpr bool boolValue() const noexcept {
    return isReal() ? real_ != 0 : integer_ != 0;
  }
  /// The number as a whole number: truncated toward zero, clamped to the range, 0 for not-a-number.
  [[nodiscard]] std::int64_t int64Value() const noexcept;
  /// The number if it is finite, whole and in range; -0.0 gives 0.
  [[nodiscard]] std::optional<std::int64_t> exactInt64() const noexcept;
  [[nodiscard]] std::string stringValue() const;

  /// Numeric order without rounding either side; unordered with not-a-number.
  friend std::partial_ordering operator<=>(const NSNumber& a, const NSNumber& b) noexcept;
  friend bool operator==(const NSNumber& a, const NSNumber& b) noexcept { return (a <=> b) == 0; }

 private:
  Kind kind_;
  union {
    std::int64_t integer_;
    double real_;
  };
};

}  // namespace foundation
