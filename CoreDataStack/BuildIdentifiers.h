#pragma once

#include <string>

namespace coredatastack {

// Identifiers that the build gives to the library. A program or a test may replace one before
// anything reads it.

/// The bundle that carries the compiled models, `ModelBundleIdentifier`.
[[nodiscard]] std::string modelBundleIdentifier();
void setModelBundleIdentifier(std::string identifier);

/// The group whose container the application and its extensions share, `AppGroupIdentifier`.
[[nodiscard]] std::string appGroupIdentifier();
void setAppGroupIdentifier(std::string identifier);

}  // namespace coredatastack
