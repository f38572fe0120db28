#include "CoreData/Model/Compiled/VersionInfo.h"

#include <algorithm>
#include <iterator>

#include "CoreData/Model/Compiled/Utf8.h"
#include "CoreData/Model/ModelError.h"

// list    := `{` line `  "current": "` name `",` line `  "versions": {` version more* line
//            `  }` line `}` line
// more    := `,` version
// version := line `    "` name `": "` fingerprint `"`
//
// `line` is a newline; the names rise. The whole is JSON, but every start of a program reads it, so
// it is taken apart as the text that it is, byte for byte.

namespace coredata {
namespace {

constexpr std::string_view kBeforeCurrent = "{\n  \"current\": \"";
constexpr std::string_view kBeforeVersions = "\",\n  \"versions\": {";
constexpr std::string_view kBeforeName = "\n    \"";
constexpr std::string_view kBeforeFingerprint = "\": \"";
constexpr std::string_view kAfterFingerprint = "\"";
constexpr std::string_view kBetweenVersions = ",";
constexpr std::string_view kAfterVersions = "\n  }\n}\n";

[[noreturn]] void fail(const std::string& what) {
  throw modelError(ModelErrorCode::damaged, "The list of the model's versions " + what + ".");
}

/// What is left of a list.
class Rest {
 public:
  explicit Rest(std::string_view text) noexcept : text_(text) {}

  [[nodiscard]] bool takes(std::string_view piece) noexcept {
    if (!text_.starts_with(piece)) return false;
    text_.remove_prefix(piece.size());
    return true;
  }
  void take(std::string_view piece) {
    if (!takes(piece)) fail("is of another form");
  }
  /// The text as far as the quotation mark that ends it.
  [[nodiscard]] std::string takeText() {
    const std::string_view taken = text_.substr(0, text_.find('"'));
    text_.remove_prefix(taken.size());
    return std::string(taken);
  }
  [[nodiscard]] bool isEmpty() const noexcept { return text_.empty(); }

 private:
  std::string_view text_;
};

void takeVersion(Rest& rest, VersionInfo& info) {
  rest.take(kBeforeName);
  auto name = rest.takeText();
  rest.take(kBeforeFingerprint);
  if (!isVersionName(name)) fail("names \"" + name + "\", which can be no file");
  const bool rises = info.versions.empty() || std::prev(info.versions.end())->first < name;
  if (!rises) fail("names \"" + name + "\" out of order");
  info.versions.emplace_hint(info.versions.end(), std::move(name), rest.takeText());
  rest.take(kAfterFingerprint);
}

}  // namespace

bool isVersionName(std::string_view name) noexcept {
  return !name.empty() && name.size() <= 200 && name.front() != '.' && isWellFormedUtf8(name) &&
         std::ranges::none_of(name, [](char character) {
           return character == '/' || character == '"' || character == '\\' ||
                  static_cast<unsigned char>(character) < 0x20;
         });
}

VersionInfo VersionInfo::parse(std::string_view json) {
  Rest rest(json);
  VersionInfo info;
  rest.take(kBeforeCurrent);
  info.current = rest.takeText();
  rest.take(kBeforeVersions);
  do {
    takeVersion(rest, info);
  } while (rest.takes(kBetweenVersions));
  rest.take(kAfterVersions);
  if (!rest.isEmpty()) fail("is followed by something");
  if (!info.versions.contains(info.current)) {
    fail("calls \"" + info.current + "\" current, which is not among them");
  }
  return info;
}

std::string VersionInfo::text() const {
  std::string text(kBeforeCurrent);
  text.append(current).append(kBeforeVersions);
  for (std::string_view separator; const auto& [name, fingerprint] : versions) {
    text.append(separator).append(kBeforeName).append(name);
    text.append(kBeforeFingerprint).append(fingerprint).append(kAfterFingerprint);
    separator = kBetweenVersions;
  }
  return text.append(kAfterVersions);
}

}  // namespace coredata
