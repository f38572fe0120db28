#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "Foundation/Predicate/PredicateShape.h"

namespace foundation {

/// The normalised text of a tree: one spelling for each operator, as few parentheses as the meaning
/// allows. Parsing it gives the same tree.
[[nodiscard]] std::string printedFormat(const PredicateNode& root,
                                        std::span<const ArgumentRule> rules);

/// The same with the arguments' values in their places, for people; it need not parse.
[[nodiscard]] std::string printedWithValues(const PredicateNode& root,
                                            std::span<const Value> arguments);

/// The placeholder that stands for a specifier in normalised text.
[[nodiscard]] std::string_view placeholder(ArgumentSpecifier specifier) noexcept;

/// The operator's normalised spelling.
[[nodiscard]] std::string_view spelling(ComparisonOperator comparison) noexcept;

/// A key path's text, with `#` before a first key that is a reserved word.
[[nodiscard]] std::string printedKeyPath(std::span<const std::string> segments);

/// Whether the word means something to the grammar, in any case.
[[nodiscard]] bool isReservedWord(std::string_view word) noexcept;

}  // namespace foundation
