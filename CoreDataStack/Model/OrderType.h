#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

namespace coredatastack {

/// What an order sorts.
class OrderType {
 public:
  enum class Case : std::int16_t { activity = 1 };
  using enum Case;

  // NOLINTBEGIN(google-explicit-constructor): a case is a value, and a value is switched over
  constexpr OrderType(Case which) noexcept : case_(which) {}
  constexpr operator Case() const noexcept { return case_; }
  // NOLINTEND(google-explicit-constructor)

  /// The number under which the type is stored.
  [[nodiscard]] constexpr std::int16_t value() const noexcept {
    return static_cast<std::int16_t>(case_);
  }

 private:
  Case case_;
};

}  // namespace coredatastack

template <>
struct std::hash<coredatastack::OrderType> {
  std::size_t operator()(coredatastack::OrderType type) const noexcept {
    return std::hash<std::int16_t>{}(type.value());
  }
};
