#include "Tools/habits/AnswerStream.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

namespace habits {

namespace {

[[noreturn]] void fail() {
  throw std::system_error(errno, std::generic_category(), "the standard output");
}

}  // namespace

AnswerStream::AnswerStream() : kept_(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0)) {
  if (kept_ < 0) fail();
  if (dup2(STDERR_FILENO, STDOUT_FILENO) < 0) {
    const int failure = errno;
    close(kept_);
    throw std::system_error(failure, std::generic_category(), "the standard output");
  }
}

// The standard output stays where it is: threads of the library may print after the answer.
AnswerStream::~AnswerStream() { close(kept_); }

void AnswerStream::print(std::string_view line) const {
  const std::string text = std::string(line) + "\n";
  for (std::string_view rest = text; !rest.empty();) {
    const ssize_t count = write(kept_, rest.data(), rest.size());
    if (count < 0 && errno != EINTR) fail();
    if (count > 0) rest.remove_prefix(static_cast<std::size_t>(count));
  }
}

}  // namespace habits
