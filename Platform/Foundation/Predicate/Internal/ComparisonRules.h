#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "Foundation/Predicate/PredicateShape.h"

namespace foundation {

/// Checks what can be known of a comparison without values, and notes in `rules` what its arguments
/// must be. Gives the fault's description, empty for none.
[[nodiscard]] std::string_view checkComparison(const PredicateNode& comparison,
                                               std::vector<ArgumentRule>& rules);

/// Checks number and kind of the arguments' values. Throws `Error`, which names the argument but
/// not its value.
void checkArguments(std::string_view format, std::span<const ArgumentRule> rules,
                    std::span<const Value> arguments);

}  // namespace foundation
