#include "Foundation/Files/Directories.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <mutex>
#include <utility>

#include "Foundation/Files/Bundle.h"
#include "Foundation/Files/Internal/BundleSearch.h"
#include "Foundation/Files/Internal/HomeDirectory.h"
#include "Foundation/Values/Error.h"

namespace foundation {

namespace {

[[noreturn]] void fail(int code, std::string message) {
  throw Error(std::string(kPosixErrorDomain), code, std::move(message));
}

std::string homeDirectory() {
  if (auto home = homeInEnvironment()) return *std::move(home);
  if (auto home = homeInUserDatabase()) return *std::move(home);
  fail(ENOENT,
       "There is no home directory to keep data in: HOME is not an absolute path, and user " +
           std::to_string(::getuid()) +
           " has none in the user database. Set HOME, or XDG_CONFIG_HOME, XDG_DATA_HOME and "
           "XDG_CACHE_HOME.");
}

std::string directoryOf(const char* variable, const char* belowHome) {
  if (auto path = absolutePath(::secure_getenv(variable))) return *std::move(path);
  return homeDirectory() + belowHome;
}

std::string requireComponent(std::string_view identifier) {
  const bool isComponent = !identifier.empty() && identifier != "." && identifier != ".." &&
                           identifier.find('/') == std::string_view::npos &&
                           identifier.find('\0') == std::string_view::npos;
  if (!isComponent) {
    fail(EINVAL, "The identifier \"" + std::string(identifier) + "\" does not name a directory.");
  }
  return std::string(identifier);
}

struct Current {
  std::mutex mutex;
  std::shared_ptr<const Directories> directories;
};

Current& currentDirectories() {
  // Never destroyed: settings may be written while the process ends.
  static auto& current = *new Current;
  return current;
}

std::string ownIdentifier() {
  const Bundle bundle = Bundle::main();
  return bundle.bundleIdentifier().value_or(programLocation().name);
}

}  // namespace

Directories::Directories(std::string_view identifier, std::string config, std::string data,
                         std::string cache)
    : identifier_(requireComponent(identifier)),
      config_(std::move(config)),
      data_(std::move(data)),
      cache_(std::move(cache)) {}

Directories Directories::ofUser(std::string_view applicationIdentifier) {
  return Directories(applicationIdentifier, directoryOf("XDG_CONFIG_HOME", "/.config"),
                     directoryOf("XDG_DATA_HOME", "/.local/share"),
                     directoryOf("XDG_CACHE_HOME", "/.cache"));
}

Directories Directories::below(std::string_view directory, std::string_view applicationIdentifier) {
  const auto root = absolutePath(std::string(directory).c_str());
  if (!root) fail(EINVAL, "The directory \"" + std::string(directory) + "\" is not absolute.");
  return Directories(applicationIdentifier, *root + "/config", *root + "/data", *root + "/cache");
}

std::shared_ptr<const Directories> Directories::current() {
  const std::scoped_lock guard(currentDirectories().mutex);
  auto& current = currentDirectories().directories;
  if (current == nullptr) current = std::make_shared<const Directories>(ofUser(ownIdentifier()));
  return current;
}

void Directories::set(Directories directories) {
  auto next = std::make_shared<const Directories>(std::move(directories));
  const std::scoped_lock guard(currentDirectories().mutex);
  currentDirectories().directories = std::move(next);
}

std::string Directories::suiteDirectory(std::string_view name) const {
  return config_ + "/" + requireComponent(name);
}

std::string Directories::groupDirectory(std::string_view groupIdentifier) const {
  return data_ + "/" + requireComponent(groupIdentifier);
}

}  // namespace foundation
