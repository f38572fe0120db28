#include "Foundation/Files/Internal/ProtectedPlaces.h"

#include <fcntl.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <vector>

#include "Foundation/Files/Internal/HomeDirectory.h"
#include "Foundation/Internal/FileSystem.h"

namespace foundation {

namespace {

bool isDirectoryItself(const std::filesystem::path& path, const struct stat& directory) {
  const auto status = FileSystem::current().status(AT_FDCWD, path.c_str(), 0);
  return status && status->st_dev == directory.st_dev && status->st_ino == directory.st_ino;
}

std::filesystem::path resolved(const std::string& path) {
  std::error_code failed;
  const auto result = std::filesystem::weakly_canonical(path, failed);
  // What this user may not walk through is compared as far as it can be seen.
  return failed ? std::filesystem::path(path).lexically_normal() : result;
}

std::vector<std::string> protectedPlaces() {
  std::vector<std::string> places{"/", "/tmp", "/var/tmp"};
  if (auto home = homeInEnvironment()) places.push_back(*std::move(home));
  if (auto home = homeInUserDatabase()) places.push_back(*std::move(home));
  for (const char* variable : {"TMPDIR", "TMP", "TEMP", "TEMPDIR"}) {
    if (auto path = absolutePath(::secure_getenv(variable))) places.push_back(*std::move(path));
  }
  return places;
}

}  // namespace

bool liesIn(const std::string& path, const struct stat& directory) {
  for (auto place = resolved(path);; place = place.parent_path()) {
    if (isDirectoryItself(place, directory)) return true;
    if (place == place.parent_path()) return false;
  }
}

std::optional<std::string> protectedPlaceIn(const struct stat& directory) {
  for (const std::string& place : protectedPlaces()) {
    if (liesIn(place, directory)) return place;
  }
  return std::nullopt;
}

}  // namespace foundation
