#pragma once

#include <cstddef>
#include <filesystem>
#include <iosfwd>
#include <set>
#include <string>

namespace support {

/// What this process holds of what can leak.
struct Possessions {
  /// Of now. `below` is where its files lie.
  [[nodiscard]] static Possessions look(const std::filesystem::path& below);

  /// What each descriptor leads to.
  std::multiset<std::string> descriptors;
  /// Without the queues' workers: they come when they are first needed, and stay for the next time.
  std::size_t threads = 0;
  std::set<std::string> files;
  /// Bytes that have been asked for and not given back.
  std::size_t heap = 0;
};

}  // namespace support
