#pragma once

#include <string_view>

namespace habits {

/// Keeps the standard output for the answer: from its making on, what the library prints there when
/// a query fails goes to the standard error stream instead. A script that reads JSON finds nothing
/// else in its way.
///
/// Threading: one, made before other threads print.
class AnswerStream {
 public:
  /// Throws `std::system_error` where there is no standard output to keep.
  AnswerStream();
  ~AnswerStream();
  AnswerStream(const AnswerStream&) = delete;
  AnswerStream& operator=(const AnswerStream&) = delete;

  /// Prints a line on the standard output, which is what it was from then on.
  void print(std::string_view answer);

 private:
  void restore() noexcept;

  int kept_;
};

}  // namespace habits
