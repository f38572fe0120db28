#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "Foundation/Predicate/PredicateShape.h"

namespace foundation {

/// One word of a predicate format.
struct FormatToken {
  enum class Kind : std::uint8_t {
    end,
    word,             ///< a keyword or a key
    key,              ///< `#word`: a key even if the word is reserved
    variable,         ///< `$word`
    collectionWord,   ///< `@word`
    text,             ///< a quoted text; `text` is what it stands for
    number,           ///< `number`
    argument,         ///< `%@`, `%d`, ...: `specifier`
    keyPathArgument,  ///< `%K`
    symbol,           ///< an operator or a bracket
  };

  Kind kind = Kind::end;
  std::size_t position = 0;
  /// The word or symbol without its mark (`#`, `$`, `@`).
  std::string_view spelling;
  std::string text;
  NSNumber number{0};
  ArgumentSpecifier specifier = ArgumentSpecifier::value;

  [[nodiscard]] bool isSymbol(std::string_view symbol) const noexcept {
    return kind == Kind::symbol && spelling == symbol;
  }
  /// Keywords are written in any case, `keyword` in capitals.
  [[nodiscard]] bool isKeyword(std::string_view keyword) const noexcept;
};

/// Takes a predicate format apart into tokens, one at a time. The format must outlive the lexer and
/// its tokens.
class FormatLexer {
 public:
  /// Throws `Error` when the format is not UTF-8.
  explicit FormatLexer(std::string_view format);

  /// The next token; `end` for ever once the text is used up. Throws `Error` for what is no token.
  [[nodiscard]] FormatToken next();

 private:
  [[nodiscard]] FormatToken tokenHere(FormatToken::Kind kind) const;
  [[nodiscard]] FormatToken lexWord(FormatToken::Kind kind, std::size_t wordStart);
  [[nodiscard]] FormatToken lexText();
  [[nodiscard]] FormatToken lexNumber();
  [[nodiscard]] FormatToken lexPlaceholder();
  [[nodiscard]] FormatToken lexSymbol();
  [[nodiscard]] char escapedCharacter();
  [[nodiscard]] char at(std::size_t index) const noexcept {
    return index < format_.size() ? format_[index] : '\0';
  }

  std::string_view format_;
  std::size_t position_ = 0;
};

/// Whether the word may be a key as it stands: letters, digits and underscores, no digit first, any
/// character beyond ASCII.
[[nodiscard]] bool isKeyWord(std::string_view word) noexcept;

/// For each placeholder in the order of the format, whether it is a key path (`%K`).
[[nodiscard]] std::vector<bool> keyPathPlaceholders(std::string_view format);

}  // namespace foundation
