#pragma once

#include <span>

#include "Tools/salvage/RowSearch.h"

namespace salvage {

/// Makes relationships lead to rows that are there, and those with two single ends lead back. Where
/// one end is gone the other one tells what it was. Notes what had to be cleared.
void mendLinks(std::span<FoundRows> entities);

}  // namespace salvage
