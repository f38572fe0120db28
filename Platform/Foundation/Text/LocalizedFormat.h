#pragma once

#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>

namespace foundation {

/// What fills a place of a format: a whole number or a text.
class FormatArgument {
 public:
  // NOLINTBEGIN(google-explicit-constructor): an argument is what it was made from
  template <std::signed_integral T>
  FormatArgument(T number) : content_(static_cast<std::int64_t>(number)) {}
  template <std::unsigned_integral T>
  requires(!std::same_as<T, bool>) FormatArgument(T number)
      : content_(static_cast<std::uint64_t>(number)) {}
  FormatArgument(std::string text) : content_(std::move(text)) {}
  FormatArgument(std::string_view text) : content_(std::string(text)) {}
  FormatArgument(const char* text) : content_(std::string(text)) {}
  // NOLINTEND(google-explicit-constructor)

  /// The text, or null for a number.
  [[nodiscard]] const std::string* text() const noexcept {
    return std::get_if<std::string>(&content_);
  }
  /// A text as it is, a number in Latin digits.
  [[nodiscard]] std::string plainText() const;

 private:
  std::variant<std::int64_t, std::uint64_t, std::string> content_;
};

/// A format with its places filled, for texts that translators write: nothing in the format can
/// read what is not there.
///
/// Known are `%d %i %u %ld %lld %lu %hd %hi` for numbers and `%@` for either kind, with a position
/// (`%2$d`), a width,
/// `-` to fill up on the right, `0` to fill up with zeros, and a precision (a number's fewest
/// digits, a text's most characters); `%%` is a percent sign. Everything else, and a place for
/// which there is no argument of its kind, stays as written.
///
/// Numbers are written in the current locale's digits and grouping: 1000 gives "1,000" in English.
/// Length modifiers change nothing, for an argument knows its own size; `%@` writes a number
/// without grouping in Latin digits.
[[nodiscard]] std::string localizedFormat(std::string_view format,
                                          std::span<const FormatArgument> arguments);
[[nodiscard]] inline std::string localizedFormat(std::string_view format,
                                                 std::initializer_list<FormatArgument> arguments) {
  return localizedFormat(format, std::span(arguments.begin(), arguments.size()));
}

}  // namespace foundation
