#include "Tests/habits/Program.h"

#include <fcntl.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <system_error>

namespace habits {

namespace {

void require(int code, const char* what) {
  if (code != 0) throw std::system_error(code, std::generic_category(), what);
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
  std::vector<char*> result;
  for (std::string& text : texts) result.push_back(text.data());
  result.push_back(nullptr);
  return result;
}

std::string contentOf(const std::filesystem::path& path) {
  std::ostringstream content;
  content << std::ifstream(path, std::ios::binary).rdbuf();
  return content.str();
}

/// The program's standard streams.
class Streams {
 public:
  Streams() { require(posix_spawn_file_actions_init(&actions_), "file actions"); }
  ~Streams() { posix_spawn_file_actions_destroy(&actions_); }
  Streams(const Streams&) = delete;
  Streams& operator=(const Streams&) = delete;

  void open(int descriptor, const std::string& path, int flags) {
    require(posix_spawn_file_actions_addopen(&actions_, descriptor, path.c_str(), flags, 0600),
            path.c_str());
  }
  void use(int descriptor, int ofOurs) {
    require(posix_spawn_file_actions_adddup2(&actions_, ofOurs, descriptor), "dup2");
  }
  [[nodiscard]] const posix_spawn_file_actions_t* actions() const { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_{};
};

/// A terminal whose other end is this process.
class Terminal {
 public:
  Terminal() : own_(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    if (own_ < 0 || grantpt(own_) != 0 || unlockpt(own_) != 0 ||
        ptsname_r(own_, name_.data(), name_.size()) != 0) {
      throw std::runtime_error("no terminal to be had");
    }
  }
  ~Terminal() { close(own_); }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  [[nodiscard]] std::string name() const { return name_.data(); }
  void type(const std::string& text) const {
    if (write(own_, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
      throw std::runtime_error("nothing can be typed");
    }
  }
  /// What it shows until the program ends.
  [[nodiscard]] std::string shown() const {
    // Reading fails once the program, the terminal's only other end, has ended.
    std::string text;
    std::array<char, 4096> piece{};
    for (ssize_t size = 0; (size = read(own_, piece.data(), piece.size())) > 0;) {
      text.append(piece.data(), static_cast<std::size_t>(size));
    }
    return text;
  }

 private:
  int own_;
  std::array<char, 128> name_{};
};

pid_t spawned(std::vector<std::string> arguments,
              const std::map<std::string, std::string>& environment, const Streams& streams) {
  arguments.insert(arguments.begin(), HABITS_PROGRAM);
  std::vector<std::string> variables;
  for (const auto& [name, value] : environment) variables.push_back(name + "=" + value);
  pid_t child = 0;
  require(posix_spawn(&child, HABITS_PROGRAM, streams.actions(), nullptr,
                      pointersTo(arguments).data(), pointersTo(variables).data()),
          HABITS_PROGRAM);
  return child;
}

int statusOf(pid_t child) {
  int status = 0;
  if (waitpid(child, &status, 0) != child) throw std::runtime_error("the program is lost");
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

}  // namespace

Program::Program()
    : environment_{{"HOME", (directory() / "home").string()},
                   {"LC_ALL", "en_US"},
                   {"TZ", "UTC"},
                   {"TERM", "xterm-256color"}} {}

Outcome Program::run(std::vector<std::string> arguments) const {
  arguments.insert(arguments.end(), {"--store", store().string()});
  return runPlainly(arguments);
}

Outcome Program::runPlainly(const std::vector<std::string>& arguments) const {
  return outcomeOf(arguments, "/dev/null");
}

Outcome Program::runAnswering(std::vector<std::string> arguments, const std::string& answer) const {
  arguments.insert(arguments.end(), {"--store", store().string()});
  const Terminal terminal;
  terminal.type(answer);
  return outcomeOf(arguments, terminal.name());
}

Outcome Program::outcomeOf(const std::vector<std::string>& arguments,
                           const std::string& input) const {
  const auto output = directory() / "output";
  const auto complaint = directory() / "complaint";
  constexpr int kWrite = O_WRONLY | O_CREAT | O_TRUNC;
  Streams streams;
  streams.open(STDIN_FILENO, input, O_RDONLY | O_NOCTTY);
  streams.open(STDOUT_FILENO, output.string(), kWrite);
  streams.open(STDERR_FILENO, complaint.string(), kWrite);
  const int status = statusOf(spawned(arguments, environment_, streams));
  return {status, contentOf(output), contentOf(complaint)};
}

std::unique_ptr<RunningProgram> Program::start(std::vector<std::string> arguments,
                                               const std::string& complaint) const {
  arguments.insert(arguments.end(), {"--store", store().string()});
  std::array<int, 2> ends{};
  require(pipe2(ends.data(), O_CLOEXEC) == 0 ? 0 : errno, "pipe");
  Streams streams;
  streams.open(STDIN_FILENO, "/dev/null", O_RDONLY);
  streams.use(STDOUT_FILENO, ends[1]);
  streams.open(STDERR_FILENO, (directory() / complaint).string(), O_WRONLY | O_CREAT | O_TRUNC);
  const pid_t child = spawned(arguments, environment_, streams);
  close(ends[1]);
  return std::make_unique<RunningProgram>(child, ends[0]);
}

std::string Program::outputInTerminal(std::vector<std::string> arguments) const {
  return shownInTerminal(std::move(arguments), STDOUT_FILENO);
}

std::string Program::complaintInTerminal(std::vector<std::string> arguments) const {
  return shownInTerminal(std::move(arguments), STDERR_FILENO);
}

std::string Program::shownInTerminal(std::vector<std::string> arguments, int descriptor) const {
  arguments.insert(arguments.end(), {"--store", store().string()});
  const Terminal terminal;
  Streams streams;
  for (const int other : {STDOUT_FILENO, STDERR_FILENO}) {
    if (other != descriptor) streams.open(other, "/dev/null", O_WRONLY);
  }
  streams.open(descriptor, terminal.name(), O_WRONLY | O_NOCTTY);
  const pid_t child = spawned(arguments, environment_, streams);
  std::string output = terminal.shown();
  if (const int status = statusOf(child); status != 0) {
    throw std::runtime_error("the program ended with " + std::to_string(status));
  }
  return output;
}

}  // namespace habits
