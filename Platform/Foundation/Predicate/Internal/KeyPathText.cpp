#include "Foundation/Predicate/Internal/KeyPathText.h"

#include <cstddef>

#include "Foundation/Predicate/Internal/FormatError.h"
#include "Foundation/Predicate/Internal/FormatLexer.h"

namespace foundation {

std::vector<std::string> keyPathSegments(std::string_view text) {
  std::vector<std::string> segments;
  std::string_view rest = text;
  while (true) {
    const std::size_t dot = rest.find('.');
    const std::string_view key = rest.substr(0, dot);
    std::size_t damage = 0;
    if (!isKeyWord(key) || !isValidUtf8(key, damage)) {
      throwArgumentError(text, "the text is no key path");
    }
    segments.emplace_back(key);
    if (dot == std::string_view::npos) return segments;
    rest.remove_prefix(dot + 1);
  }
}

}  // namespace foundation
