#pragma once

#include "Foundation/Predicate/Internal/FormatParser.h"

namespace fuzz {

/// Whether two formats say the same in every part: tree, literals, paths with their scopes and
/// sites, and what they demand of arguments.
[[nodiscard]] bool areSame(const foundation::ParsedFormat& one,
                           const foundation::ParsedFormat& other);

}  // namespace fuzz
