#include "Foundation/Files/Bundle.h"

#include <fcntl.h>

#include <algorithm>
#include <filesystem>
#include <mutex>
#include <ranges>
#include <utility>

#include "Foundation/Files/Internal/BundleInfo.h"
#include "Foundation/Files/Internal/BundleSearch.h"
#include "Foundation/Internal/FileSystem.h"
#include "Foundation/Text/LocalizedString.h"
#include "Foundation/Values/FatalError.h"

namespace foundation {

struct Bundle::Content {
  std::string path;
  std::optional<std::string> identifier;
  std::string name;
};

namespace {

struct MainBundle {
  std::mutex mutex;
  std::optional<Bundle> set;
};

MainBundle& mainBundle() {
  // Never destroyed: texts may be looked up while the process ends.
  static auto& bundle = *new MainBundle;
  return bundle;
}

enum class Kind { missing, file, directory };

Kind kindOf(const std::string& path) {
  const auto status = FileSystem::current().status(AT_FDCWD, path.c_str(), 0);
  if (!status) return Kind::missing;
  return S_ISDIR(status->st_mode) ? Kind::directory : Kind::file;
}

URL urlOf(const std::string& path, Kind kind) {
  return URL::fileURL(kind == Kind::directory ? path + "/" : path);
}

/// Whether a name leads to something below where it is looked for, and nowhere else.
bool staysBelow(std::string_view relative) {
  if (relative.starts_with('/') || relative.find('\0') != std::string_view::npos) return false;
  return std::ranges::none_of(std::views::split(relative, '/'), [](const auto& component) {
    return std::string_view(component) == "..";
  });
}

std::string joined(std::string path, std::string_view relative) {
  if (!relative.empty()) path.append("/").append(relative);
  return path;
}

/// A path without slashes at its end, so that its last component is its name.
std::string withoutTrailingSlashes(std::string path) {
  while (path.size() > 1 && path.ends_with('/')) path.pop_back();
  return path;
}

constexpr std::string_view kBundleExtension = ".bundle";

std::string bundlePath(const std::string& directory, std::string_view name) {
  return joined(directory, name).append(kBundleExtension);
}

/// The name that an identifier tells, its last component; empty where that can be no name.
std::string_view likelyNameOf(std::string_view identifier) {
  const std::string_view name = identifier.substr(identifier.rfind('.') + 1);
  return staysBelow(name) ? name : std::string_view();
}

}  // namespace

std::optional<Bundle> Bundle::open(std::string path, bool needsInfo) {
  auto [state, info] = readBundleInfo(path);
  if (needsInfo && state != BundleInfoState::good) return std::nullopt;
  auto content = std::make_shared<Content>();
  if (state == BundleInfoState::good) content->identifier = std::move(info.identifier);
  content->name =
      info.name.empty() ? std::filesystem::path(path).stem().string() : std::move(info.name);
  content->path = std::move(path);
  return Bundle(std::move(content));
}

template <typename Accept>
std::optional<Bundle> Bundle::findIn(const std::vector<std::string>& directories,
                                     std::string_view likelyName, const Accept& accept) {
  const auto accepted = [&](std::string path) {
    auto found = open(std::move(path), true);
    return found && accept(*found) ? std::move(found) : std::nullopt;
  };
  for (const std::string& directory : directories) {
    if (auto itself = accepted(directory)) return itself;
    if (!likelyName.empty()) {
      if (auto likely = accepted(bundlePath(directory, likelyName))) return likely;
    }
    for (std::string& path : entriesWithExtension(directory, kBundleExtension)) {
      if (auto found = accepted(std::move(path))) return found;
    }
  }
  return std::nullopt;
}

template <typename Accept>
std::optional<Bundle> Bundle::find(std::string_view likelyName, const Accept& accept) {
  if (auto found = findIn(addedBundleDirectories(), likelyName, accept)) return found;
  return findIn(otherBundleDirectories(), likelyName, accept);
}

std::optional<Bundle> Bundle::known() {
  const std::scoped_lock guard(mainBundle().mutex);
  return mainBundle().set;
}

Bundle Bundle::main() {
  if (const auto own = known()) return *own;
  const ProgramLocation& program = programLocation();
  for (const auto& directories : {addedBundleDirectories(), otherBundleDirectories()}) {
    for (const std::string& directory : directories) {
      if (auto found = open(bundlePath(directory, program.name), true)) {
        // Kept once it is found, for every text of the program comes through here.
        const std::scoped_lock guard(mainBundle().mutex);
        if (!mainBundle().set) mainBundle().set = std::move(found);
        return *mainBundle().set;
      }
    }
  }
  return *open(program.directory.empty() ? "." : program.directory, false);
}

void Bundle::setMain(Bundle bundle) {
  const std::scoped_lock guard(mainBundle().mutex);
  mainBundle().set = std::move(bundle);
}

std::optional<Bundle> Bundle::withIdentifier(std::string_view identifier) {
  const auto isIt = [&](const Bundle& bundle) { return bundle.bundleIdentifier() == identifier; };
  // A main bundle that was neither set nor asked for yet lies where the others are looked for.
  if (const auto own = known(); own && isIt(*own)) return own;
  return find(likelyNameOf(identifier), isIt);
}

std::vector<Bundle> Bundle::allBundles() {
  std::vector<Bundle> bundles{main()};
  static_cast<void>(find({}, [&](const Bundle& bundle) {
    if (bundle.content_->path != bundles.front().content_->path) bundles.push_back(bundle);
    return false;
  }));
  return bundles;
}

std::optional<Bundle> Bundle::at(const URL& directory) {
  const auto path = directory.filePath();
  if (!path || kindOf(*path) != Kind::directory) return std::nullopt;
  return open(withoutTrailingSlashes(*path), false);
}

void Bundle::registerDirectory(const URL& directory) {
  auto path = directory.filePath();
  if (!path) fatalError("a directory of bundles is named by a file URL");
  addBundleDirectory(withoutTrailingSlashes(*std::move(path)));
}

const std::optional<std::string>& Bundle::bundleIdentifier() const noexcept {
  return content_->identifier;
}

const std::string& Bundle::name() const noexcept { return content_->name; }

URL Bundle::bundleURL() const { return urlOf(content_->path, Kind::directory); }

std::optional<URL> Bundle::url(std::string_view forResource, std::string_view withExtension,
                               std::string_view subdirectory) const {
  if (forResource.empty()) return std::nullopt;
  std::string name(forResource);
  if (!withExtension.empty()) name.append(".").append(withExtension);
  if (!staysBelow(subdirectory) || !staysBelow(name)) return std::nullopt;
  const std::string path = joined(joined(content_->path, subdirectory), name);
  const Kind kind = kindOf(path);
  if (kind == Kind::missing) return std::nullopt;
  return urlOf(path, kind);
}

std::vector<URL> Bundle::urls(std::string_view forResourcesWithExtension,
                              std::string_view subdirectory) const {
  std::vector<URL> found;
  if (!staysBelow(subdirectory)) return found;
  const std::string extension = "." + std::string(forResourcesWithExtension);
  for (const std::string& path :
       entriesWithExtension(joined(content_->path, subdirectory), extension)) {
    found.push_back(urlOf(path, kindOf(path)));
  }
  return found;
}

std::string Bundle::localizedString(std::string_view forKey, std::string_view value,
                                    std::string_view table) const {
  return foundation::localizedString(content_->path, forKey, value,
                                     table.empty() ? kDefaultStringsTable : table);
}

}  // namespace foundation
