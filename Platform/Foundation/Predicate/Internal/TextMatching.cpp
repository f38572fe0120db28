#include "Foundation/Predicate/Internal/TextMatching.h"

#include <algorithm>
#include <cstddef>

#include "Foundation/Internal/ASCII.h"

namespace foundation {
namespace {

bool sameFolded(char a, char b) noexcept { return ascii::lowered(a) == ascii::lowered(b); }

bool same(char a, char b, TextOption option) noexcept {
  return option == TextOption::exact ? a == b : sameFolded(a, b);
}

/// Where the code point after the one at `index` begins; bytes that are no UTF-8 count one each.
std::size_t afterCodePoint(std::string_view text, std::size_t index) noexcept {
  const auto isContinuation = [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
  };
  const auto lead = static_cast<unsigned char>(text[index]);
  const std::size_t length = lead < 0xC0 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  std::size_t next = index + 1;
  while (next < text.size() && next < index + length && isContinuation(text[next])) ++next;
  return next;
}

}  // namespace

bool textsAreEqual(std::string_view a, std::string_view b, TextOption option) noexcept {
  return option == TextOption::exact ? a == b : std::ranges::equal(a, b, sameFolded);
}

bool textBeginsWith(std::string_view text, std::string_view prefix, TextOption option) noexcept {
  return text.size() >= prefix.size() &&
         textsAreEqual(text.substr(0, prefix.size()), prefix, option);
}

bool textEndsWith(std::string_view text, std::string_view suffix, TextOption option) noexcept {
  return text.size() >= suffix.size() &&
         textsAreEqual(text.substr(text.size() - suffix.size()), suffix, option);
}

bool textContains(std::string_view text, std::string_view part, TextOption option) noexcept {
  if (option == TextOption::exact) return text.find(part) != std::string_view::npos;
  return part.empty() || !std::ranges::search(text, part, sameFolded).empty();
}

// The pattern is followed greedily; on a mismatch the last `*` takes one code point more. Earlier
// ones need no second look: what they could give up, the last one can take.
bool textIsLike(std::string_view text, std::string_view pattern, TextOption option) noexcept {
  std::size_t t = 0;
  std::size_t p = 0;
  std::size_t starPattern = std::string_view::npos;
  std::size_t starText = 0;
  while (t < text.size()) {
    if (p < pattern.size() && pattern[p] == '*') {
      starPattern = ++p;
      starText = t;
      continue;
    }
    if (p < pattern.size() && pattern[p] == '?') {
      ++p;
      t = afterCodePoint(text, t);
      continue;
    }
    const bool isEscape = p + 1 < pattern.size() && pattern[p] == '\\';
    const std::size_t literal = isEscape ? p + 1 : p;
    if (literal < pattern.size() && same(pattern[literal], text[t], option)) {
      p = literal + 1;
      ++t;
      continue;
    }
    if (starPattern == std::string_view::npos) return false;
    p = starPattern;
    starText = afterCodePoint(text, starText);
    t = starText;
  }
  while (p < pattern.size() && pattern[p] == '*') ++p;
  return p == pattern.size();
}

}  // namespace foundation
