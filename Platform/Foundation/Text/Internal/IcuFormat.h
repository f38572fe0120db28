#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Foundation/Text/Internal/Environment.h"
#include "Foundation/Values/Date.h"

namespace foundation {

// The road for every calendar, locale and pattern. It knows nothing of the zones that ICU carries:
// what it is given is already local time, reckoned by the system's own rules.

/// A date by any pattern of Unicode's date fields, in the settings' locale, calendar and zone.
[[nodiscard]] std::string icuFormat(const Environment& environment, std::string_view pattern,
                                    const Date& date);

/// The date that a text written by the pattern stands for; none unless writing that date gives the
/// same text again, Latin digits standing for the locale's own. Patterns with a zone field are
/// never parsed.
[[nodiscard]] std::optional<Date> icuParse(const Environment& environment, std::string_view pattern,
                                           std::string_view text);

}  // namespace foundation
