#pragma once

#include <optional>
#include <string>

namespace foundation {

/// What a bundle says about itself.
struct BundleInfo {
  std::string identifier;
  /// Empty when it gives none.
  std::string name;
};

enum class BundleInfoState { missing, damaged, good };

struct BundleInfoResult {
  BundleInfoState state = BundleInfoState::missing;
  BundleInfo info;
};

/// Reads the `Info.json` of a directory. What cannot be read or understood is reported on the
/// standard error stream, once a file.
[[nodiscard]] BundleInfoResult readBundleInfo(const std::string& directory);

}  // namespace foundation
