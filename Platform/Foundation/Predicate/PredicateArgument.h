#pragma once

#include <concepts>
#include <cstdint>
#include <limits>
#include <ranges>
#include <type_traits>
#include <utility>

#include "Foundation/Values/Value.h"

namespace foundation {

/// Throws `Error` of a whole number that 64 signed bits cannot hold.
[[noreturn]] void throwNumberTooLarge();

/// What a value of the program's becomes as an argument of a predicate. Whole numbers of any width
/// keep their value (one above the range of 64 signed bits is an error); ranges become lists.
template <typename T>
[[nodiscard]] Value predicateArgument(T&& value) {
  using Plain = std::remove_cvref_t<T>;
  if constexpr (std::same_as<Plain, bool>) {
    return Value(value);
  } else if constexpr (std::integral<Plain>) {
    if (!std::in_range<std::int64_t>(value)) throwNumberTooLarge();
    return Value(static_cast<std::int64_t>(value));
  } else if constexpr (std::floating_point<Plain>) {
    return Value(static_cast<double>(value));
  } else if constexpr (std::constructible_from<Value, T>) {
    return Value(std::forward<T>(value));
  } else {
    static_assert(std::ranges::input_range<T>, "no predicate can compare with this type");
    ValueList list;
    for (auto&& element : value) list.push_back(predicateArgument(element));
    return Value(std::move(list));
  }
}

}  // namespace foundation
