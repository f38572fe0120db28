#include "Foundation/Files/Internal/BundleInfo.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <optional>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "Foundation/Internal/FileSystem.h"
#include "Foundation/Json/NSJSONSerialization.h"
#include "Foundation/Values/Error.h"

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
std::string textOf(const ValueDictionary& object, std::string_view key) {
  const auto found = object.find(key);
  const std::string* text = found == object.end() ? nullptr : found->second.text();
  return text == nullptr ? std::string() : *text;
}

/// None for what is no JSON. Not the parser's own values: their destructors take memory.
std::optional<Value> parsed(std::vector<std::uint8_t> bytes) {
  try {
    return NSJSONSerialization::JSONObject(Data(std::move(bytes)));
  } catch (const Error&) {
    return std::nullopt;
  }
}

bool take(std::string_view& rest, std::string_view piece) {
  if (!rest.starts_with(piece)) return false;
  rest.remove_prefix(piece.size());
  return true;
}

/// A text that stands for itself, as far as the quotation mark that ends it.
bool takeText(std::string_view& rest, std::string& text) {
  text = rest.substr(0, rest.find('"'));
  rest.remove_prefix(text.size());
  return !text.empty() && std::ranges::all_of(text, [](char character) {
    return character >= ' ' && character <= '~' && character != '\\';
  });
}

/// Every start of a program reads one. In the form in which the build writes it, it is taken apart
/// as the text that it is; none for any other form.
std::optional<BundleInfo> asBuilt(std::string_view rest) {
  BundleInfo info;
  const bool isAsBuilt = take(rest, R"({"identifier": ")") && takeText(rest, info.identifier) &&
                         take(rest, R"(", "name": ")") && takeText(rest, info.name) &&
                         rest == "\"}\n";
  return isAsBuilt ? std::optional(std::move(info)) : std::nullopt;
}

BundleInfoResult parse(const std::string& path, std::vector<std::uint8_t> bytes) {
  if (auto info = asBuilt({reinterpret_cast<const char*>(bytes.data()), bytes.size()})) {
    return {BundleInfoState::good, *std::move(info)};
  }
  const std::optional<Value> json = parsed(std::move(bytes));
  if (!json) return damaged(path, "this is not JSON");
  const ValueDictionary* object = json->dictionary();
  if (object == nullptr) return damaged(path, "this is not a JSON object");
  BundleInfo info{textOf(*object, "identifier"), textOf(*object, "name")};
  if (info.identifier.empty()) return damaged(path, "the bundle's identifier is missing");
  return {BundleInfoState::good, std::move(info)};
}

}  // namespace

BundleInfoResult readBundleInfo(const std::string& directory) {
  const std::string path = directory + "/Info.json";
  auto bytes = readFile(AT_FDCWD, path.c_str(), kLargestInfo);
  if (bytes) return parse(path, *std::move(bytes));
  if (bytes.error() == ENOENT || bytes.error() == ENOTDIR) return {};
  return damaged(path, std::strerror(bytes.error()));
}

}  // namespace foundation
