#pragma once

#include <cstdlib>

#include "Foundation/Values/Error.h"

namespace fuzz {

/// Runs `work`; false when it was refused. Every refusal has the one form and says something:
/// anything else ends the process.
template <typename Work>
bool unlessRefused(Work&& work) {
  try {
    work();
    return true;
  } catch (const foundation::Error& error) {
    if (error.message().empty()) std::abort();
    return false;
  }
}

/// Ends the process, which is how a target tells of a find.
inline void require(bool holds) {
  if (!holds) std::abort();
}

}  // namespace fuzz
