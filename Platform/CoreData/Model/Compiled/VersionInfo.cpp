#include "CoreData/Model/Compiled/VersionInfo.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "CoreData/Model/ModelError.h"

namespace coredata {
namespace {

using Json = nlohmann::json;

[[noreturn]] void fail(const std::string& what) {
  throw modelError(ModelErrorCode::damaged, "The list of the model's versions " + what + ".");
}

}  // namespace

bool isVersionName(std::string_view name) noexcept {
  return !name.empty() && name.size() <= 200 && name.front() != '.' &&
         std::ranges::none_of(name, [](char character) {
           return character == '/' || static_cast<unsigned char>(character) < 0x20;
         });
}

VersionInfo VersionInfo::parse(std::string_view json) {
  const auto root = Json::parse(json, nullptr, /*allow_exceptions=*/false);
  if (!root.is_object() || !root.contains("current") || !root.contains("versions")) {
    fail("is no JSON object with a current version and all versions");
  }
  const auto& current = root["current"];
  const auto& versions = root["versions"];
  if (!current.is_string() || !versions.is_object()) fail("is of another form");

  VersionInfo info;
  info.current = current.get<std::string>();
  for (const auto& [name, fingerprint] : versions.items()) {
    if (!fingerprint.is_string()) fail("is of another form");
    if (!isVersionName(name)) fail("names \"" + name + "\", which can be no file");
    info.versions.emplace(name, fingerprint.get<std::string>());
  }
  if (!info.versions.contains(info.current)) {
    fail("calls \"" + info.current + "\" current, which is not among them");
  }
  return info;
}

std::string VersionInfo::text() const {
  const Json root = {{"current", current}, {"versions", versions}};
  return root.dump(2) + "\n";
}

}  // namespace coredata
