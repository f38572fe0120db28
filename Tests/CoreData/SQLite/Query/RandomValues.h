#pragma once

#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <utility>

#include "Foundation/Values/Value.h"

namespace habits {

/// Values from small pools, so that equal ones meet, with everything at which comparisons go wrong.
class RandomValues {
 public:
  /// Draws any number.
  using Draw = std::function<std::uint64_t()>;

  /// The generator must outlive this.
  explicit RandomValues(std::mt19937_64& random) : draw_(std::ref(random)) {}
  explicit RandomValues(Draw draw) : draw_(std::move(draw)) {}

  [[nodiscard]] std::size_t below(std::size_t bound) { return draw_() % bound; }

  [[nodiscard]] std::int64_t wholeNumber();
  [[nodiscard]] double realNumber();
  [[nodiscard]] std::string text();
  [[nodiscard]] foundation::Date date();
  [[nodiscard]] foundation::Data bytes();
  [[nodiscard]] foundation::UUID identifier();

 private:
  Draw draw_;
};

}  // namespace habits
