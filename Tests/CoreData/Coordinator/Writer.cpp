#include "Tests/CoreData/Coordinator/Writer.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <stdexcept>

namespace garden {

namespace {
struct Pipe {
  int readEnd;
  int writeEnd;
};

Pipe makePipe() {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  return {ends[0], ends[1]};
}
}  // namespace

Writer::Writer(const foundation::URL& store, History history) {
  const Pipe in = makePipe();
  const Pipe out = makePipe();
  commands_.reset(fdopen(in.writeEnd, "w"));
  answers_.reset(fdopen(out.readEnd, "r"));
  std::string program = REMOTE_CHANGE_WRITER;
  std::string path = store.filePath().value();
  std::string untracked = "untracked";
  std::array<char*, 4> arguments{program.data(), path.data(),
                                 history == History::untracked ? untracked.data() : nullptr,
                                 nullptr};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, in.readEnd, STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, out.writeEnd, STDOUT_FILENO);
  const int failed =
      posix_spawn(&process_, program.c_str(), &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(in.readEnd);
  close(out.writeEnd);
  if (failed != 0) throw std::runtime_error("the writer cannot be started");
  if (answer() != "ready") throw std::runtime_error("the writer is not ready");
}

Writer::~Writer() {
  // At the end of its commands it ends.
  commands_.reset();
  if (process_ >= 0) awaitEnd();
}

void Writer::tell(std::string_view line) const {
  std::fprintf(commands_.get(), "%.*s\n", static_cast<int>(line.size()), line.data());
  std::fflush(commands_.get());
}

std::string Writer::answer() const {
  std::array<char, 100> buffer{};
  if (std::fgets(buffer.data(), buffer.size(), answers_.get()) == nullptr) return {};
  std::string line = buffer.data();
  if (line.ends_with('\n')) line.pop_back();
  return line;
}

int Writer::awaitEnd() noexcept {
  int status = 0;
  waitpid(process_, &status, 0);
  process_ = -1;
  return status;
}

std::int64_t Writer::save() {
  tell("save");
  return std::stoll(answer());
}

bool Writer::saveAndDie() {
  tell("die");
  const int status = awaitEnd();
  return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
}

}  // namespace garden
