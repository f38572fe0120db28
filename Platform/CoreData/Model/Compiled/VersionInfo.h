#pragma once

#include <map>
#include <string>
#include <string_view>

namespace coredata {

/// What the `Info.json` of a `.momd` directory says: which versions lie there, and which of them is
/// the current one.
struct VersionInfo {
  /// The file that holds it, inside the directory.
  static constexpr std::string_view kFileName = "Info.json";

  /// The name of the current version, which is one of `versions`.
  std::string current;
  /// Each version's fingerprint as hexadecimal digits, by its name; the name is that of its files.
  std::map<std::string, std::string, std::less<>> versions;

  /// Throws an `Error` of code `ModelErrorCode::damaged` for anything that `text()` would not have
  /// written, and for names that lead out of the directory.
  [[nodiscard]] static VersionInfo parse(std::string_view json);
  [[nodiscard]] std::string text() const;
};

/// Whether a version's name can be that of its files, and stand in a list as it is: some UTF-8, no
/// slash, backslash, quotation mark or control character, no point in front.
[[nodiscard]] bool isVersionName(std::string_view name) noexcept;

}  // namespace coredata
