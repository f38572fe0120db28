#pragma once

#include <cstdint>
#include <random>
#include <string>

#include "Foundation/Values/Value.h"

namespace habits {

/// Values from small pools, so that equal ones meet, with everything at which comparisons go wrong.
class RandomValues {
 public:
  explicit RandomValues(std::mt19937_64& random) : random_(random) {}

  [[nodiscard]] std::size_t below(std::size_t bound) { return random_() % bound; }

  [[nodiscard]] std::int64_t wholeNumber();
  [[nodiscard]] double realNumber();
  [[nodiscard]] std::string text();
  [[nodiscard]] foundation::Date date();
  [[nodiscard]] foundation::Data bytes();
  [[nodiscard]] foundation::UUID identifier();

 private:
  std::mt19937_64& random_;
};

}  // namespace habits
