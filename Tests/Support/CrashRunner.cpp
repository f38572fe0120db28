#include "Tests/Support/CrashRunner.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <exception>
#include <stdexcept>

namespace support {

namespace {
constexpr int kThrew = 70;
using Clock = std::chrono::steady_clock;

[[noreturn]] void runAsChild(foundation::FunctionRef<void(const Acknowledgements&)> work,
                             int pipe) {
  setpgid(0, 0);
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  int status = 0;
  try {
    work(Acknowledgements(pipe));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "the child failed: %s\n", error.what());
    status = kThrew;
  }
  // Neither exit handlers nor destructors: they belong to the parent.
  _exit(status);
}

/// Takes in what the child writes until it has closed the pipe; false when that takes too long.
bool readUntilClosed(int pipe, Clock::time_point deadline, std::string& text) {
  std::array<char, 4096> buffer;
  for (;;) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
    pollfd wait{pipe, POLLIN, 0};
    if (left.count() <= 0 || poll(&wait, 1, static_cast<int>(left.count())) == 0) return false;
    const ssize_t count = read(pipe, buffer.data(), buffer.size());
    if (count <= 0) return true;
    text.append(buffer.data(), static_cast<std::size_t>(count));
  }
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  // A line that was not finished was not acknowledged.
  for (std::size_t begin = 0, end = 0; (end = text.find('\n', begin)) != std::string::npos;
       begin = end + 1) {
    lines.push_back(text.substr(begin, end - begin));
  }
  return lines;
}
}  // namespace

void Acknowledgements::send(std::string_view text) const {
  const std::string line = std::string(text) + '\n';
  if (write(pipe_, line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
    throw std::runtime_error("the parent does not listen");
  }
}

ChildOutcome runInChild(foundation::FunctionRef<void(const Acknowledgements&)> work,
                        std::chrono::milliseconds timeout) {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child < 0) throw std::runtime_error("no child process");
  if (child == 0) {
    close(ends[0]);
    runAsChild(work, ends[1]);
  }
  setpgid(child, child);
  close(ends[1]);
  ChildOutcome outcome;
  std::string text;
  outcome.timedOut = !readUntilClosed(ends[0], Clock::now() + timeout, text);
  close(ends[0]);
  // Whatever the child has started goes with it.
  if (outcome.timedOut) kill(-child, SIGKILL);
  // Looked at before it is taken away: until then its number, which is its group's too, is nobody
  // else's.
  siginfo_t ended{};
  waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOWAIT);
  kill(-child, SIGKILL);
  int status = 0;
  waitpid(child, &status, 0);
  outcome.acknowledged = linesOf(text);
  outcome.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  outcome.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 0;
  return outcome;
}

}  // namespace support
