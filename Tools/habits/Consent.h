#pragma once

#include <optional>
#include <string>

namespace habits {

/// Asks, and says whether the answer was yes; none where nobody can be asked, outside a terminal.
[[nodiscard]] std::optional<bool> askedInTerminal(const std::string& question);

/// Goes on only with the user's consent to what cannot be undone: given beforehand, or now when
/// asked in a terminal. Throws `Refusal` otherwise.
void requireConsent(bool isGiven, const std::string& question);

}  // namespace habits
