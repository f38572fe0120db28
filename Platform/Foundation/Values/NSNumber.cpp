#include "Foundation/Values/NSNumber.h"

#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace foundation {

namespace {

// 2^63 is a double, the greatest integer is not: whole numbers in range lie in [-2^63, 2^63).
constexpr double kIntegerLimit = 9223372036854775808.0;

template <typename T>
std::string decimal(T value) {
  std::array<char, 32> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
  return {digits.data(), end};
}

/// Compares without turning the integer into a double, which would round it.
std::partial_ordering compare(std::int64_t integer, double real) noexcept {
  if (std::isnan(real)) return std::partial_ordering::unordered;
  if (real >= kIntegerLimit) return std::partial_ordering::less;
  if (real < -kIntegerLimit) return std::partial_ordering::greater;
  const double whole = std::trunc(real);
  const auto order = integer <=> static_cast<std::int64_t>(whole);
  if (order != 0) return order;
  return whole <=> real;
}

}  // namespace

std::int64_t NSNumber::int64Value() const noexcept {
  if (!isReal()) return integer_;
  if (std::isnan(real_)) return 0;
  if (real_ >= kIntegerLimit) return std::numeric_limits<std::int64_t>::max();
  if (real_ < -kIntegerLimit) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(real_);
}

std::optional<std::int64_t> NSNumber::exactInt64() const noexcept {
  if (!isReal()) return integer_;
  const bool isWhole = std::trunc(real_) == real_;
  if (!isWhole || real_ < -kIntegerLimit || real_ >= kIntegerLimit) return std::nullopt;
  return static_cast<std::int64_t>(real_);
}

std::string NSNumber::stringValue() const { return isReal() ? decimal(real_) : decimal(integer_); }

std::partial_ordering operator<=>(const NSNumber& a, const NSNumber& b) noexcept {
  if (a.isReal() && b.isReal()) return a.real_ <=> b.real_;
  if (a.isReal()) return 0 <=> compare(b.integer_, a.real_);
  if (b.isReal()) return compare(a.integer_, b.real_);
  return a.integer_ <=> b.integer_;
}

}  // namespace foundation
