#include "Tests/Processes/Companion.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <exception>
#include <stdexcept>

namespace support {

namespace {
struct Pipe {
  Pipe() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    readEnd = ends[0];
    writeEnd = ends[1];
  }
  int readEnd = -1;
  int writeEnd = -1;
};

[[noreturn]] void runAsCompanion(foundation::FunctionRef<void(Line&)> work, int in, int out) {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  std::signal(SIGPIPE, SIG_IGN);
  static_cast<void>(std::freopen("/dev/null", "w", stdout));
  int status = 0;
  try {
    Line line(in, out);
    work(line);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "a companion failed: %s\n", error.what());
    status = 1;
  }
  std::fflush(nullptr);
  // Neither exit handlers nor destructors: they belong to the parent.
  ::_exit(status);
}
}  // namespace

void Line::say(std::string_view text) const {
  const std::string line = std::string(text) + '\n';
  if (::write(out_, line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
    throw std::runtime_error("nobody listens");
  }
}

std::optional<std::string> Line::hear() {
  for (;;) {
    if (const std::size_t end = heard_.find('\n'); end != std::string::npos) {
      std::string line = heard_.substr(0, end);
      heard_.erase(0, end + 1);
      return line;
    }
    std::array<char, 4096> buffer;
    const ssize_t count = ::read(in_, buffer.data(), buffer.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return std::nullopt;
    heard_.append(buffer.data(), static_cast<std::size_t>(count));
  }
}

bool Line::hasNews(int withinMs) const {
  pollfd waiting{in_, POLLIN, 0};
  return heard_.find('\n') != std::string::npos || ::poll(&waiting, 1, withinMs) > 0;
}

Companion::Companion(foundation::FunctionRef<void(Line&)> work) {
  const Pipe there;
  const Pipe back;
  std::fflush(nullptr);
  process_ = ::fork();
  if (process_ < 0) throw std::runtime_error("no child process");
  if (process_ == 0) {
    ::close(there.writeEnd);
    ::close(back.readEnd);
    runAsCompanion(work, there.readEnd, back.writeEnd);
  }
  ::close(there.readEnd);
  ::close(back.writeEnd);
  out_ = there.writeEnd;
  in_ = back.readEnd;
  line_ = Line(in_, out_);
}

Companion::~Companion() {
  hangUp();
  awaitEnd();
}

std::string Companion::answer() {
  // Longer than any machine should need.
  constexpr int kLimitMs = 60'000;
  if (!line_.hasNews(kLimitMs)) throw std::runtime_error("the companion does not answer");
  auto line = line_.hear();
  if (!line) throw std::runtime_error("the companion has gone");
  return *std::move(line);
}

void Companion::kill() {
  if (!status_) ::kill(process_, SIGKILL);
  awaitEnd();
}

bool Companion::endedWell() {
  const int status = awaitEnd();
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

bool Companion::wasKilled() {
  const int status = awaitEnd();
  return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
}

void Companion::hangUp() noexcept {
  if (out_ >= 0) ::close(out_);
  if (in_ >= 0) ::close(in_);
  in_ = out_ = -1;
}

int Companion::awaitEnd() noexcept {
  if (!status_) {
    int status = 0;
    while (::waitpid(process_, &status, 0) < 0 && errno == EINTR) {
    }
    status_ = status;
  }
  return *status_;
}

}  // namespace support
