#pragma once

#include <unicode/utypes.h>

namespace foundation {

/// Stops the process when ICU reports a failure that only a broken installation can cause: its data
/// are missing, or it is out of memory.
void requireIcu(UErrorCode status) noexcept;

}  // namespace foundation
