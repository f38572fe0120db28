#pragma once

#include <optional>
#include <string>

namespace foundation {

/// The path without slashes at its end, none unless it is absolute.
[[nodiscard]] std::optional<std::string> absolutePath(const char* text);

/// What `HOME` says; none where it is unset or relative.
[[nodiscard]] std::optional<std::string> homeInEnvironment();
/// What the user database says of the user who runs this process.
[[nodiscard]] std::optional<std::string> homeInUserDatabase();

}  // namespace foundation
