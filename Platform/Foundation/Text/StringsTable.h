#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace foundation {

/// The texts of one language, by key: a file that translators write.
///
///     /* Shown beside an activity. */
///     "Daily Streak" = "%d-day streak";
///
/// The file is UTF-8; comments are `/* */` and `//`; inside the quotes stand `\"`, `\\`, `\n`, `\t`
/// and `\r` for what they usually mean. Of a key that occurs twice the last text counts.
///
/// Threading: immutable.
class StringsTable {
 public:
  /// Throws `Error` that names the line where the text is not of this form.
  [[nodiscard]] static StringsTable parse(std::string_view text);

  /// The text of a key, none when it has no entry. An entry may be empty.
  [[nodiscard]] std::optional<std::string_view> find(std::string_view key) const;
  [[nodiscard]] std::size_t size() const noexcept { return entries_.size(); }

 private:
  struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const noexcept {
      return std::hash<std::string_view>{}(text);
    }
  };

  std::unordered_map<std::string, std::string, Hash, std::equal_to<>> entries_;
};

}  // namespace foundation
