#pragma once

#include <cstddef>
#include <string>

namespace habits {

/// A line of the terminal that says how far something is, and that goes when it is done. Outside a
/// terminal nothing is written. It takes the standard error stream: what a command answers stays
/// clean.
class Progress {
 public:
  /// Of `steps` in all.
  Progress(std::string what, std::size_t steps);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress();

  /// One step is done.
  void advance();
  /// So many steps are done by now.
  void reach(std::size_t steps);
  /// From here on something else is being done, whose length nobody knows.
  void goOnWith(const std::string& what) const;

 private:
  void show(const std::string& line) const;

  std::string what_;
  std::size_t steps_;
  std::size_t done_ = 0;
  std::size_t shownPercent_ = 0;
  bool isShown_;
};

}  // namespace habits
