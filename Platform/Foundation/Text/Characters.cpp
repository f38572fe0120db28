#include "Foundation/Text/Characters.h"

#include <unicode/brkiter.h>
#include <unicode/utext.h>

#include <algorithm>
#include <memory>

#include "Foundation/Text/Internal/Icu.h"
#include "Foundation/Text/Internal/Utf8.h"

namespace foundation {

namespace {

constexpr bool isAscii(char c) { return static_cast<unsigned char>(c) < 0x80; }

/// Unicode's White_Space property, written out: it has not changed in decades, and data need not be
/// loaded for it.
constexpr bool isWhitespace(std::int32_t c) {
  return (c >= 0x09 && c <= 0x0D) || c == 0x20 || c == 0x85 || c == 0xA0 || c == 0x1680 ||
         (c >= 0x2000 && c <= 0x200A) || c == 0x2028 || c == 0x2029 || c == 0x202F || c == 0x205F ||
         c == 0x3000;
}

std::string_view clusterPrefix(std::string_view text, std::size_t characters) {
  UErrorCode status = U_ZERO_ERROR;
  thread_local const std::unique_ptr<icu::BreakIterator> iterator(
      icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
  requireIcu(status);
  UText content = UTEXT_INITIALIZER;
  utext_openUTF8(&content, text.data(), static_cast<std::int64_t>(text.size()), &status);
  iterator->setText(&content, status);
  requireIcu(status);
  std::int32_t end = iterator->first();
  for (std::size_t i = 0; i < characters && end != icu::BreakIterator::DONE; ++i)
    end = iterator->next();
  utext_close(&content);
  return end == icu::BreakIterator::DONE ? text : text.substr(0, static_cast<std::size_t>(end));
}

}  // namespace

std::string_view prefix(std::string_view text, std::size_t characters) {
  // In ASCII a byte is a character, but for a carriage return that joins the line feed behind it;
  // and the byte behind the last one must be ASCII too, or it could be an accent on it.
  const std::string_view inspected = text.substr(0, std::min(text.size(), characters) + 1);
  const bool isPlain =
      std::ranges::all_of(inspected, [](char c) { return isAscii(c) && c != '\r'; });
  return isPlain ? text.substr(0, characters) : clusterPrefix(text, characters);
}

std::string_view trimmingWhitespaceAndNewlines(std::string_view text) noexcept {
  const auto length = static_cast<std::int32_t>(text.size());
  std::int32_t begin = 0;
  for (std::int32_t next = 0; next < length; begin = next) {
    if (!isWhitespace(nextCodePoint(text, next))) break;
  }
  std::int32_t end = length;
  for (std::int32_t previous = length; previous > begin; end = previous) {
    if (!isWhitespace(previousCodePoint(text, previous))) break;
  }
  return text.substr(static_cast<std::size_t>(begin), static_cast<std::size_t>(end - begin));
}

bool isUtf8(std::string_view bytes) noexcept {
  if (std::ranges::all_of(bytes, isAscii)) return true;
  const auto length = static_cast<std::int32_t>(bytes.size());
  for (std::int32_t next = 0; next < length;) {
    if (nextCodePoint(bytes, next) < 0) return false;
  }
  return true;
}

}  // namespace foundation
