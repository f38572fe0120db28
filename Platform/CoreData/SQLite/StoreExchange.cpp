#include "CoreData/SQLite/StoreExchange.h"

#include <fcntl.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "CoreData/SQLite/StoreFile.h"

namespace coredata {

using foundation::FileSystem;

namespace {
/// Renames that are undone together unless they are kept.
class Renames {
 public:
  Renames() = default;
  ~Renames() {
    for (auto rename = done_.rbegin(); rename != done_.rend(); ++rename) {
      // Whoever is here already throws the failure that made them go back.
      [[maybe_unused]] const auto undone = FileSystem::current().rename(
          AT_FDCWD, rename->second.c_str(), AT_FDCWD, rename->first.c_str());
    }
  }
  Renames(const Renames&) = delete;
  Renames& operator=(const Renames&) = delete;

  void add(const std::string& from, const std::string& to) {
    done_.reserve(done_.size() + 1);
    const auto renamed = FileSystem::current().rename(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str());
    if (!renamed)
      throw fileError("The file " + from + " cannot be moved.", renamed.error(), "rename");
    done_.emplace_back(from, to);
  }
  void keep() noexcept { done_.clear(); }

 private:
  std::vector<std::pair<std::string, std::string>> done_;
};

/// The store's companions, then the store itself: should it stop in between, it is still clear
/// which belong together, and nothing is taken for the log of a new store.
std::vector<std::string> partsOf(const std::string& path) {
  std::vector<std::string> parts;
  parts.reserve(kCompanions.size() + 1);
  for (const std::string_view companion : kCompanions)
    parts.push_back(path + std::string(companion));
  parts.push_back(path);
  return parts;
}

std::string freeSalvageName(const std::string& path) {
  for (int number = 1;; ++number) {
    std::string name = path + "-salvage-" + std::to_string(number);
    if (std::ranges::none_of(partsOf(name),
                             [](const auto& part) { return statusOf(part).has_value(); }))
      return name;
  }
}
}  // namespace

void exchangeFile(const std::string& incoming, const std::string& path) {
  const std::vector<std::string> aside = partsOf(freeSalvageName(path));
  const std::vector<std::string> parts = partsOf(path);
  Renames renames;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (statusOf(parts[i])) renames.add(parts[i], aside[i]);
  }
  renames.add(incoming, path);
  renames.keep();
  syncDirectoryOf(path);
}

}  // namespace coredata
