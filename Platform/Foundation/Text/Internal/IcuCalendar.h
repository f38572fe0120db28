#pragma once

#include <cstdint>

#include "Foundation/Text/DateComponents.h"
#include "Foundation/Text/Internal/Environment.h"

namespace foundation {

// Days of the calendars that only ICU knows, in local time that the system's zone rules gave.

/// Fills in era, year, month and day of a local day, counted from 1970-01-01.
void readIcuDay(const Environment& environment, std::int64_t days, DateComponents& into);

/// The local day of the fields, counted from 1970-01-01; missing ones are 1, and those beyond their
/// range roll over.
[[nodiscard]] std::int64_t icuDay(const Environment& environment, const DateComponents& components);

}  // namespace foundation
