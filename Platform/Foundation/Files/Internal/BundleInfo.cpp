#include "Foundation/Files/Internal/BundleInfo.h"

#include <fcntl.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <nlohmann/json.hpp>
#include <unordered_set>
#include <vector>

#include "Foundation/Internal/FileSystem.h"

namespace foundation {

namespace {

constexpr std::size_t kLargestInfo = 64 * 1024;

BundleInfoResult damaged(const std::string& path, const char* reason) {
  static auto& mutex = *new std::mutex;
  static auto& reported = *new std::unordered_set<std::string>;
  const std::scoped_lock guard(mutex);
  if (reported.insert(path).second) {
    std::fprintf(stderr, "%s: %s; the bundle is left out\n", path.c_str(), reason);
  }
  return {BundleInfoState::damaged, {}};
}

/// The text under `key`, empty when there is none.
std::string textOf(const nlohmann::json& object, const char* key) {
  const auto found = object.find(key);
  return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

BundleInfoResult parse(const std::string& path, const std::vector<std::uint8_t>& bytes) {
  const auto json = nlohmann::json::parse(bytes.begin(), bytes.end(), nullptr, false);
  if (json.is_discarded()) return damaged(path, "this is not JSON");
  if (!json.is_object()) return damaged(path, "this is not a JSON object");
  BundleInfo info{textOf(json, "identifier"), textOf(json, "name")};
  if (info.identifier.empty()) return damaged(path, "the bundle's identifier is missing");
  return {BundleInfoState::good, std::move(info)};
}

}  // namespace

BundleInfoResult readBundleInfo(const std::string& directory) {
  const std::string path = directory + "/Info.json";
  const auto bytes = readFile(AT_FDCWD, path.c_str(), kLargestInfo);
  if (bytes) return parse(path, *bytes);
  if (bytes.error() == ENOENT || bytes.error() == ENOTDIR) return {};
  return damaged(path, std::strerror(bytes.error()));
}

}  // namespace foundation
