#pragma once

#include <cstdlib>
#include <filesystem>

namespace fuzz {

/// Lets a target's files lie in memory, where the system has a place for that and nobody chose
/// another: a target lays a store for each input. To be called before a directory is made.
inline void keepFilesInMemory() {
  constexpr const char* kInMemory = "/dev/shm";
  static const bool isThere = std::filesystem::is_directory(kInMemory);
  if (isThere) setenv("TMPDIR", kInMemory, 0);
}

}  // namespace fuzz
