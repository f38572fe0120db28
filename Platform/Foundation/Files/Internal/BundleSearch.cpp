#include "Foundation/Files/Internal/BundleSearch.h"

#include <dirent.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <memory>
#include <mutex>
#include <utility>

namespace foundation {

namespace {

struct Registry {
  std::mutex mutex;
  std::vector<std::string> directories;
};

Registry& registry() {
  // Never destroyed: bundles may be looked up while the process ends.
  static auto& registered = *new Registry;
  return registered;
}

ProgramLocation findProgram() {
  std::array<char, PATH_MAX> buffer;
  const ssize_t length = ::readlink("/proc/self/exe", buffer.data(), buffer.size());
  // Without the process file system nothing lies beside the program that could be found.
  if (length <= 0) return {};
  const std::string_view path(buffer.data(), static_cast<std::size_t>(length));
  const std::size_t slash = path.rfind('/');
  return {std::string(path.substr(0, std::max<std::size_t>(slash, 1))),
          std::string(path.substr(slash + 1))};
}

/// Directories each once, in the order in which they were named first, without those that are
/// searched anyway.
class SearchPath {
 public:
  explicit SearchPath(std::vector<std::string> without) : without_(std::move(without)) {}

  void add(std::string directory) {
    const auto holds = [&](const std::vector<std::string>& known) {
      return std::ranges::find(known, directory) != known.end();
    };
    if (!holds(without_) && !holds(directories_)) directories_.push_back(std::move(directory));
  }
  [[nodiscard]] std::vector<std::string> take() && { return std::move(directories_); }

 private:
  std::vector<std::string> without_;
  std::vector<std::string> directories_;
};

}  // namespace

const ProgramLocation& programLocation() {
  static const auto& location = *new ProgramLocation(findProgram());
  return location;
}

std::vector<std::string> addedBundleDirectories() {
  const std::scoped_lock guard(registry().mutex);
  return registry().directories;
}

std::vector<std::string> otherBundleDirectories() {
  SearchPath path(addedBundleDirectories());
  if (const std::string& beside = programLocation().directory; !beside.empty()) {
    path.add(beside);
    path.add(beside.substr(0, beside.rfind('/')) + "/share/CoreDataStack");
  }
#ifdef COREDATASTACK_BUILD_RESOURCE_DIR
  path.add(COREDATASTACK_BUILD_RESOURCE_DIR);
#endif
#ifdef COREDATASTACK_INSTALL_RESOURCE_DIR
  path.add(COREDATASTACK_INSTALL_RESOURCE_DIR);
#endif
  return std::move(path).take();
}

void addBundleDirectory(std::string directory) {
  const std::scoped_lock guard(registry().mutex);
  registry().directories.push_back(std::move(directory));
}

std::vector<std::string> entriesWithExtension(const std::string& directory,
                                              std::string_view extension) {
  std::vector<std::string> found;
  const std::unique_ptr<DIR, int (*)(DIR*)> stream(::opendir(directory.c_str()), &::closedir);
  if (stream == nullptr) return found;
  // One of the directories is the program's, where thousands of others may lie.
  while (const dirent* entry = ::readdir(stream.get())) {
    const std::string_view name = entry->d_name;
    if (name.ends_with(extension)) found.push_back(directory + "/" + std::string(name));
  }
  std::ranges::sort(found);
  return found;
}

}  // namespace foundation
