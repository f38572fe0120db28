#include "Benchmarks/ChildProcess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <stdexcept>

namespace benchmarks {

namespace {

/// The two ends of a pipe that a child's standard output goes into.
class OutputPipe {
 public:
  OutputPipe() {
    if (pipe2(ends_.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe for a child");
  }
  ~OutputPipe() {
    closeEnd(0);
    closeEnd(1);
  }
  OutputPipe(const OutputPipe&) = delete;
  OutputPipe& operator=(const OutputPipe&) = delete;

  [[nodiscard]] int writingEnd() const noexcept { return ends_[1]; }
  [[nodiscard]] std::string readToEnd() {
    closeEnd(1);
    std::string text;
    std::array<char, 4096> buffer{};
    for (;;) {
      const ssize_t count = read(ends_[0], buffer.data(), buffer.size());
      if (count < 0 && errno == EINTR) continue;
      if (count <= 0) return text;
      text.append(buffer.data(), static_cast<std::size_t>(count));
    }
  }

 private:
  void closeEnd(std::size_t end) noexcept {
    if (ends_[end] >= 0) close(ends_[end]);
    ends_[end] = -1;
  }

  std::array<int, 2> ends_{-1, -1};
};

pid_t started(const std::vector<std::string>& command, int output) {
  std::vector<char*> arguments;
  for (const std::string& argument : command)
    arguments.push_back(const_cast<char*>(argument.data()));
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
  pid_t child = -1;
  const int result =
      posix_spawn(&child, command[0].c_str(), &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (result != 0) throw std::runtime_error("cannot start " + command[0]);
  return child;
}

}  // namespace

std::string outputOf(const std::vector<std::string>& command) {
  OutputPipe output;
  const pid_t child = started(command, output.writingEnd());
  std::string text = output.readToEnd();
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    throw std::runtime_error(command[0] + " failed");
  }
  return text;
}

Run runPrintedBy(const std::vector<std::string>& command) {
  const std::string text = outputOf(command);
  std::size_t end = 0;
  const std::int64_t answer = std::stoll(text, &end);
  return {Cost::of(std::stod(text.substr(end))), answer};
}

std::string programBeside(const std::string& name) {
  return (std::filesystem::read_symlink("/proc/self/exe").parent_path() / name).string();
}

}  // namespace benchmarks
