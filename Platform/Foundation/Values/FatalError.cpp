#include "Foundation/Values/FatalError.h"

#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <span>

namespace foundation {

namespace {

iovec pieceOf(std::string_view text) { return {const_cast<char*>(text.data()), text.size()}; }

/// Writes the pieces as one write, going on only where the system took a part. Errors are ignored:
/// there is nobody left to tell. Allocates nothing, for the process may be stopping because nothing
/// is left to allocate.
void writePieces(int stream, std::span<iovec> pieces) noexcept {
  while (!pieces.empty()) {
    const ssize_t count = ::writev(stream, pieces.data(), static_cast<int>(pieces.size()));
    if (count < 0) {
      if (errno == EINTR) continue;
      return;
    }
    auto written = static_cast<std::size_t>(count);
    while (!pieces.empty() && written >= pieces.front().iov_len) {
      written -= pieces.front().iov_len;
      pieces = pieces.subspan(1);
    }
    if (pieces.empty()) return;
    pieces.front().iov_base = static_cast<char*>(pieces.front().iov_base) + written;
    pieces.front().iov_len -= written;
  }
}

/// Keeps a write to a closed pipe from ending the process: the signal is blocked on this thread,
/// and one that the writes raised is taken back. The process's own way of treating that signal
/// stays as it is.
class ClosedPipeGuard {
 public:
  ClosedPipeGuard() noexcept {
    sigemptyset(&pipeSignal_);
    sigaddset(&pipeSignal_, SIGPIPE);
    sigset_t pending;
    sigpending(&pending);
    wasPending_ = sigismember(&pending, SIGPIPE) == 1;
    pthread_sigmask(SIG_BLOCK, &pipeSignal_, &previous_);
  }
  ~ClosedPipeGuard() {
    const timespec noWait{};
    if (!wasPending_) sigtimedwait(&pipeSignal_, nullptr, &noWait);
    pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
  }
  ClosedPipeGuard(const ClosedPipeGuard&) = delete;
  ClosedPipeGuard& operator=(const ClosedPipeGuard&) = delete;

 private:
  sigset_t pipeSignal_{};
  sigset_t previous_{};
  bool wasPending_ = false;
};

}  // namespace

void fatalError(std::string_view message, std::string_view source, int line) noexcept {
  std::array<char, 16> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), line).ptr;
  const std::string_view number(digits.data(), static_cast<std::size_t>(end - digits.data()));
  std::array pieces{pieceOf(source),  pieceOf(":"), pieceOf(number), pieceOf(": Fatal error: "),
                    pieceOf(message), pieceOf("\n")};
  const ClosedPipeGuard guard;
  writePieces(STDERR_FILENO, pieces);
  std::abort();
}

void fatalError(std::string_view message) noexcept {
  std::array pieces{pieceOf("Fatal error: "), pieceOf(message), pieceOf("\n")};
  const ClosedPipeGuard guard;
  writePieces(STDERR_FILENO, pieces);
  std::abort();
}

void print(std::string_view text) noexcept {
  std::array pieces{pieceOf(text), pieceOf("\n")};
  const ClosedPipeGuard guard;
  // The stream's own lock keeps lines whole, and flushing it first keeps them in order with what
  // the program itself has written to it.
  ::flockfile(stdout);
  std::fflush(stdout);
  writePieces(STDOUT_FILENO, pieces);
  ::funlockfile(stdout);
}

}  // namespace foundation
