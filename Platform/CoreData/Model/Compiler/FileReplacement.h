#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace coredata {

/// Makes a directory and those above it, as far as they are missing. Throws an `Error` that names
/// it.
void makeDirectories(const std::string& path);

/// Gives a file new content: written and synced beside it, then renamed over it, so that a reader
/// sees the old or the new one. Throws an `Error` that names the file, which is then as it was.
void replaceFile(const std::string& path, std::span<const std::uint8_t> content);

}  // namespace coredata
