#include "Foundation/Predicate/Internal/FormatError.h"

#include <algorithm>
#include <cstdint>
#include <string>

#include "Foundation/Values/Error.h"

namespace foundation {
namespace {

constexpr std::size_t kExcerptBefore = 48;
constexpr std::size_t kExcerptAfter = 32;

bool isContinuation(char byte) noexcept {
  return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

/// The text around a position, fit for one line of a log: no control characters, and nothing at all
/// of a text that is not UTF-8.
std::string excerpt(std::string_view format, std::size_t position) {
  std::size_t damage = 0;
  if (!isValidUtf8(format, damage)) return "(not UTF-8)";
  std::size_t begin = position > kExcerptBefore ? position - kExcerptBefore : 0;
  std::size_t end = std::min(format.size(), position + kExcerptAfter);
  while (begin < end && isContinuation(format[begin])) ++begin;
  while (end < format.size() && isContinuation(format[end])) ++end;
  std::string result(format.substr(begin, end - begin));
  std::ranges::replace_if(
      result, [](char c) { return static_cast<unsigned char>(c) < 0x20; }, ' ');
  if (begin > 0) result.insert(0, "...");
  if (end < format.size()) result += "...";
  return '"' + result + '"';
}

/// The length of the sequence that starts with `lead`, 0 if none does, and the lowest code point
/// that needs it.
struct SequenceForm {
  std::size_t length;
  std::uint32_t lowest;
  std::uint32_t leadBits;
};

SequenceForm formOf(unsigned char lead) noexcept {
  if (lead < 0x80) return {1, 0, lead};
  if ((lead & 0xE0U) == 0xC0U) return {2, 0x80, lead & 0x1FU};
  if ((lead & 0xF0U) == 0xE0U) return {3, 0x800, lead & 0x0FU};
  if ((lead & 0xF8U) == 0xF0U) return {4, 0x10000, lead & 0x07U};
  return {0, 0, 0};
}

}  // namespace

bool isValidUtf8(std::string_view text, std::size_t& position) noexcept {
  for (std::size_t i = 0; i < text.size();) {
    position = i;
    const auto [length, lowest, leadBits] = formOf(static_cast<unsigned char>(text[i]));
    if (length == 0 || text.size() - i < length) return false;
    std::uint32_t codePoint = leadBits;
    for (std::size_t k = 1; k < length; ++k) {
      if (!isContinuation(text[i + k])) return false;
      codePoint = (codePoint << 6U) | (static_cast<unsigned char>(text[i + k]) & 0x3FU);
    }
    const bool isSurrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    if (codePoint < lowest || codePoint > 0x10FFFF || isSurrogate) return false;
    i += length;
  }
  return true;
}

void throwFormatError(std::string_view format, std::size_t position, std::string_view problem,
                      PredicateErrorCode code) {
  throw Error(std::string(kCocoaErrorDomain), static_cast<std::int64_t>(code),
              "The predicate format cannot be read at byte " + std::to_string(position) + ": " +
                  std::string(problem) + ", in " + excerpt(format, position) + ".");
}

void throwArgumentError(std::string_view format, std::string_view problem) {
  throw Error(std::string(kCocoaErrorDomain),
              static_cast<std::int64_t>(PredicateErrorCode::invalidArgument),
              "The predicate's arguments do not fit: " + std::string(problem) + ", in " +
                  excerpt(format, 0) + ".");
}

}  // namespace foundation
