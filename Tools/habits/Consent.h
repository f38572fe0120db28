#pragma once

#include <string>

namespace habits {

/// Goes on only with the user's consent to what cannot be undone: given beforehand, or now when
/// asked in a terminal. Throws `Refusal` otherwise.
void requireConsent(bool isGiven, const std::string& question);

}  // namespace habits
