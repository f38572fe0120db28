#include "Foundation/Files/Internal/BundleSearch.h"

#include <algorithm>
#include <filesystem>
#include <mutex>
#include <system_error>
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
  std::error_code failed;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", failed);
  // Without the process file system nothing lies beside the program that could be found.
  if (failed) return {};
  return {program.parent_path().string(), program.filename().string()};
}

}  // namespace

const ProgramLocation& programLocation() {
  static const auto& location = *new ProgramLocation(findProgram());
  return location;
}

std::vector<std::string> bundleSearchPath() {
  std::vector<std::string> path;
  {
    const std::scoped_lock guard(registry().mutex);
    path = registry().directories;
  }
  if (const std::filesystem::path beside = programLocation().directory; !beside.empty()) {
    path.push_back(beside.string());
    path.push_back((beside.parent_path() / "share" / "CoreDataStack").string());
  }
#ifdef COREDATASTACK_BUILD_RESOURCE_DIR
  path.emplace_back(COREDATASTACK_BUILD_RESOURCE_DIR);
#endif
#ifdef COREDATASTACK_INSTALL_RESOURCE_DIR
  path.emplace_back(COREDATASTACK_INSTALL_RESOURCE_DIR);
#endif
  return path;
}

void addBundleDirectory(std::string directory) {
  const std::scoped_lock guard(registry().mutex);
  registry().directories.push_back(std::move(directory));
}

std::vector<std::string> entriesWithExtension(const std::string& directory,
                                              std::string_view extension) {
  std::vector<std::string> found;
  std::error_code failed;
  std::filesystem::directory_iterator entries(directory, failed);
  for (; !failed && entries != std::filesystem::directory_iterator(); entries.increment(failed)) {
    std::string path = entries->path().string();
    if (path.ends_with(extension)) found.push_back(std::move(path));
  }
  std::ranges::sort(found);
  return found;
}

}  // namespace foundation
