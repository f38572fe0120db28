#pragma once

#include <string>
#include <string_view>

namespace habits {

/// Keeps the standard output for the answer: from its making to the end of the process, what the
/// library prints there goes to the standard error stream instead, on whichever thread. A script
/// that reads JSON finds nothing else in its way.
///
/// Threading: one, made before other threads print; used on one thread.
class AnswerStream {
 public:
  /// Throws `std::system_error` where there is no standard output to keep.
  AnswerStream();
  ~AnswerStream();
  AnswerStream(const AnswerStream&) = delete;
  AnswerStream& operator=(const AnswerStream&) = delete;

  /// Writes a line, which has left the process when this returns. Throws `std::system_error` when
  /// it cannot be written.
  void print(std::string_view line) const;
  /// For waiting until nobody reads any more.
  [[nodiscard]] int descriptor() const noexcept { return kept_; }

 private:
  int kept_;
};

}  // namespace habits
