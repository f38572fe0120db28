#include "Tests/Processes/Possessions.h"

#include <malloc.h>

#include <algorithm>
#include <fstream>
#include <string_view>

namespace support {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kRemoved = " (deleted)";
constexpr std::string_view kQueueWorker = "queue worker";

std::multiset<std::string> openDescriptors() {
  std::multiset<std::string> result;
  for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
    std::error_code error;
    const fs::path target = fs::read_symlink(entry.path(), error);
    // The iteration's own descriptor.
    if (error || target.string().ends_with("/fd")) continue;
    std::string name = target.string();
    // Also said of what was handed to the program and somebody removes meanwhile.
    if (name.ends_with(kRemoved)) name.resize(name.size() - kRemoved.size());
    result.insert(std::move(name));
  }
  return result;
}

bool isQueueWorker(const fs::path& thread) {
  std::string name;
  // Empty for a thread that has just ended.
  std::getline(std::ifstream(thread / "comm"), name);
  return name == kQueueWorker;
}

std::size_t otherThreads() {
  return static_cast<std::size_t>(std::count_if(
      fs::directory_iterator("/proc/self/task"), fs::directory_iterator(),
      [](const fs::directory_entry& thread) { return !isQueueWorker(thread.path()); }));
}

}  // namespace

Possessions Possessions::look(const fs::path& below) {
  Possessions result;
  result.descriptors = openDescriptors();
  result.threads = otherThreads();
  for (const auto& entry : fs::recursive_directory_iterator(below)) {
    result.files.insert(entry.path().lexically_relative(below).string());
  }
  const auto memory = ::mallinfo2();
  result.heap = memory.uordblks + memory.hblkhd;
  return result;
}

}  // namespace support
