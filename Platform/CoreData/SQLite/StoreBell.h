#pragma once

#include <string>

namespace coredata {

/// By which those who write a store tell those who watch it of a commit: an empty file beside the
/// store whose times are set to now once the commit is there to be read.
///
/// Nothing fails when it cannot be rung, for a commit is not to be taken back over that. Whoever
/// listens also looks at the store from time to time.
///
/// Threading: use it on any thread.
class StoreBell {
 public:
  explicit StoreBell(const std::string& storePath);

  [[nodiscard]] const std::string& path() const noexcept { return path_; }
  /// Makes the file unless it is there.
  void make() const noexcept;
  /// Makes the file if it is missing.
  void ring() const noexcept;
  /// For stores that perhaps nobody ever watches.
  void ringIfThere() const noexcept;

 private:
  const std::string path_;
};

}  // namespace coredata
