#include "Foundation/Values/Description.h"

#include "Foundation/Values/Internal/QuotedText.h"

namespace foundation {

std::string description(std::span<const std::string> texts) {
  std::string result = "[";
  for (const std::string& text : texts) {
    if (result.size() > 1) result += ", ";
    appendQuoted(result, text);
  }
  return result + "]";
}

}  // namespace foundation
