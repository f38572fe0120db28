#pragma once

#include <sys/stat.h>

#include <optional>
#include <string>

namespace foundation {

/// Whether a path, with its links resolved, is a directory or lies in it, directly or further down.
/// It need not exist.
[[nodiscard]] bool liesIn(const std::string& path, const struct stat& directory);

/// The place that must never be emptied and that is this directory or lies in it: the root, the
/// home directory, the directories for everybody's temporary files. None when there is none.
///
/// Reads the environment at each call.
[[nodiscard]] std::optional<std::string> protectedPlaceIn(const struct stat& directory);

}  // namespace foundation
