#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace foundation {

/// The directory of the running program, and its file's name.
struct ProgramLocation {
  std::string directory;
  std::string name;
};

/// Found once: a program that is moved or replaced while it runs stays where it was.
[[nodiscard]] const ProgramLocation& programLocation();

/// The directories in which bundles are looked for: those that were added, in their order, and
/// behind them those of the program and of the installation. What was found in the first ones
/// leaves the others unasked for, and these have to be asked of the system.
[[nodiscard]] std::vector<std::string> addedBundleDirectories();
[[nodiscard]] std::vector<std::string> otherBundleDirectories();
/// Safe on any thread.
void addBundleDirectory(std::string directory);

/// The entries of a directory that end with `extension`, point included, as paths, by name; none
/// when it cannot be read.
[[nodiscard]] std::vector<std::string> entriesWithExtension(const std::string& directory,
                                                            std::string_view extension);

}  // namespace foundation
