#include "Tools/habits/AnswerStream.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "Foundation/Values/FatalError.h"

namespace habits {

AnswerStream::AnswerStream() : kept_(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0)) {
  if (kept_ < 0 || dup2(STDERR_FILENO, STDOUT_FILENO) < 0) {
    const int failure = errno;
    restore();
    throw std::system_error(failure, std::generic_category(), "the standard output");
  }
}

AnswerStream::~AnswerStream() { restore(); }

void AnswerStream::print(std::string_view answer) {
  restore();
  foundation::print(answer);
}

void AnswerStream::restore() noexcept {
  if (kept_ < 0) return;
  dup2(kept_, STDOUT_FILENO);
  close(std::exchange(kept_, -1));
}

}  // namespace habits
