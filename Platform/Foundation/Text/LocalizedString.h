#pragma once

#include <string>
#include <string_view>

namespace foundation {

/// The table that is looked into where none is named.
inline constexpr std::string_view kDefaultStringsTable = "Localizable";

/// A text of a bundle in the person's language: the entry of `key` in
/// `<language>.lproj/<table>.strings` below the bundle's directory, from the current locale's
/// languages, most particular first, and then from the development language, English. Without an
/// entry it is `value`, and where that is empty the key itself.
///
/// A table is read once and again when its file changes. One that cannot be read is reported on the
/// standard error stream, once, and has no entries.
///
/// Threading: safe on any thread.
[[nodiscard]] std::string localizedString(std::string_view bundleDirectory, std::string_view key,
                                          std::string_view value = {},
                                          std::string_view table = kDefaultStringsTable);

}  // namespace foundation
