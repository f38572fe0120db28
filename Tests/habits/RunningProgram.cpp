#include "Tests/habits/RunningProgram.h"

#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <stdexcept>
#include <utility>

namespace habits {

RunningProgram::~RunningProgram() {
  closeOutput();
  if (isReaped_) return;
  kill(child_, SIGKILL);
  waitpid(child_, nullptr, 0);
}

std::string RunningProgram::line() {
  for (;;) {
    const std::size_t end = unread_.find('\n');
    if (end != std::string::npos) {
      std::string line = unread_.substr(0, end);
      unread_.erase(0, end + 1);
      return line;
    }
    if (!readMore()) throw std::runtime_error("the program ended after \"" + unread_ + "\"");
  }
}

std::vector<std::string> RunningProgram::lines(std::size_t count) {
  std::vector<std::string> lines;
  while (lines.size() < count) lines.push_back(line());
  return lines;
}

std::vector<std::string> RunningProgram::remainingLines() {
  while (readMore()) {
  }
  std::vector<std::string> lines;
  while (unread_.find('\n') != std::string::npos) lines.push_back(line());
  return lines;
}

bool RunningProgram::readMore() {
  constexpr int kPatienceMs = 60'000;
  pollfd readable{output_, POLLIN, 0};
  if (poll(&readable, 1, kPatienceMs) != 1) throw std::runtime_error("the program says nothing");
  std::array<char, 65536> piece{};
  const ssize_t size = read(output_, piece.data(), piece.size());
  if (size < 0) throw std::runtime_error("the program cannot be read");
  unread_.append(piece.data(), static_cast<std::size_t>(size));
  return size > 0;
}

void RunningProgram::signal(int number) const { kill(child_, number); }

void RunningProgram::closeOutput() {
  if (output_ >= 0) close(std::exchange(output_, -1));
}

int RunningProgram::status() {
  int status = 0;
  if (waitpid(child_, &status, 0) != child_) throw std::runtime_error("the program is lost");
  isReaped_ = true;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

}  // namespace habits
