#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace domain {

/// How much of a date a query compares: its year, its month or its day.
class DateFormat {
 public:
  enum class Case : std::uint8_t { year, month, day };
  using enum Case;

  // NOLINTBEGIN(google-explicit-constructor): a case is a value, and a value is switched over
  constexpr DateFormat(Case which) noexcept : case_(which) {}
  constexpr operator Case() const noexcept { return case_; }
  // NOLINTEND(google-explicit-constructor)

  /// The date formatter's pattern: "yyyy", "yyyy-MM" or "yyyy-MM-dd".
  [[nodiscard]] constexpr std::string_view pattern() const noexcept {
    constexpr std::string_view kDay = "yyyy-MM-dd";
    constexpr std::size_t kLengths[] = {4, 7, kDay.size()};
    return kDay.substr(0, kLengths[static_cast<std::size_t>(case_)]);
  }

 private:
  Case case_;
};

}  // namespace domain
