#pragma once

#include <string>

#include "Foundation/Values/FunctionRef.h"

namespace habits {

/// Does work that tells how far it has come as `foundation::Progress` has it, and shows that in the
/// terminal. Needs an `Interruption`: when that is wanted the work is asked to stop, and `Refusal`
/// is thrown once it has.
void doWatched(const std::string& what, foundation::FunctionRef<void()> work);

}  // namespace habits
