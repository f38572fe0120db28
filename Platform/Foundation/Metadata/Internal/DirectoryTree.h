#pragma once

#include <string>
#include <vector>

namespace foundation {

/// The paths of what lies in a directory and below it.
struct DirectoryTree {
  /// The directory itself and all below it, each after the one that holds it; empty when it cannot
  /// be read.
  std::vector<std::string> directories;
  /// Regular files, in the order of their bytes.
  std::vector<std::string> files;
};

/// Looks through a directory. Links are left out, and so is what cannot be read or goes meanwhile.
[[nodiscard]] DirectoryTree treeIn(const std::string& directory);

}  // namespace foundation
