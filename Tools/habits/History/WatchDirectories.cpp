#include "Tools/habits/History/WatchDirectories.h"

#include <signal.h>

#include <cerrno>
#include <charconv>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>

#include "Foundation/Files/Directories.h"
#include "Foundation/Internal/ProcessIdentifier.h"

namespace habits {

namespace fs = std::filesystem;
using foundation::Directories;

namespace {

constexpr std::string_view kWatch = ".watch-";

/// The same for a store in every process.
std::string hashOf(std::string_view path) {
  std::uint64_t hash = 0xcbf29ce484222325;
  for (const char c : path) hash = (hash ^ static_cast<std::uint8_t>(c)) * 0x100000001b3;
  char digits[16];
  const auto end = std::to_chars(std::begin(digits), std::end(digits), hash, 16).ptr;
  return {digits, end};
}

/// The process that a directory of a watch belongs to; none for any other directory.
std::optional<pid_t> processOf(std::string_view name, std::string_view prefix) {
  if (!name.starts_with(prefix)) return std::nullopt;
  const std::size_t mark = name.rfind('-');
  if (mark < prefix.size()) return std::nullopt;
  pid_t process = 0;
  const char* end = name.data() + name.size();
  const auto [stop, error] = std::from_chars(name.data() + mark + 1, end, process);
  return error == std::errc() && stop == end && process > 0 ? std::optional(process) : std::nullopt;
}

bool isGone(pid_t process) { return kill(process, 0) != 0 && errno == ESRCH; }

/// What cannot be removed is tried again by the next watch; it is in nobody's way.
void removeQuietly(const fs::path& directory) {
  std::error_code failure;
  fs::remove_all(directory, failure);
}

void removeThoseOfTheDead(const fs::path& besides, const std::string& prefix) {
  std::error_code failure;
  for (fs::directory_iterator entry(besides, failure), end; !failure && entry != end;
       entry.increment(failure)) {
    const auto process = processOf(entry->path().filename().string(), prefix);
    if (process && isGone(*process)) removeQuietly(entry->path());
  }
}

}  // namespace

WatchDirectories::WatchDirectories(const std::string& storePath) {
  const auto users = Directories::current();
  const std::string prefix = users->applicationIdentifier() + std::string(kWatch);
  for (const std::string& directory : {users->configDirectory(), users->cacheDirectory()}) {
    removeThoseOfTheDead(fs::path(directory).parent_path(), prefix);
  }
  Directories::set(Directories::ofUser(prefix + hashOf(storePath) + "-" +
                                       std::to_string(foundation::processIdentifier())));
}

WatchDirectories::~WatchDirectories() {
  const auto own = Directories::current();
  for (const std::string& directory : {own->configDirectory(), own->cacheDirectory()}) {
    removeQuietly(directory);
  }
}

}  // namespace habits
