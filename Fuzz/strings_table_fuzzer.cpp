#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include "Foundation/Text/StringsTable.h"
#include "Foundation/Values/Error.h"

namespace {

using foundation::StringsTable;

constexpr std::size_t kLongestInput = std::size_t{64} * 1024;

std::string quoted(std::string_view text) {
  std::string result = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') result += '\\';
    result += c;
  }
  return result + "\"";
}

std::optional<StringsTable> tableIn(std::string_view text) {
  try {
    return StringsTable::parse(text);
  } catch (const foundation::Error&) {
    return std::nullopt;
  }
}

void require(bool holds) {
  if (!holds) std::abort();
}

/// Whether the file is damaged or not, looking things up in it does no harm.
void lookUp(std::string_view text) {
  const auto table = tableIn(text);
  if (!table) return;
  // No entry takes less than a key's two quotes, a sign, a value's two quotes and an end.
  require(table->size() <= text.size() / 6);
  require(table->find(text).has_value() <= (table->size() > 0));
  // Of two entries the last counts, and comments change nothing.
  const auto again = tableIn(std::string(text) + "\n/* */ " + std::string(text));
  if (again) require(again->size() <= table->size());
}

/// Any two texts can be written as an entry, and are found.
void writeAndFind(std::string_view text) {
  const std::string_view key = text.substr(0, text.size() / 2);
  const std::string_view value = text.substr(text.size() / 2);
  const auto table = tableIn(quoted(key) + " = " + quoted(value) + ";");
  require(table && table->size() == 1 && table->find(key) == value);
}

}  // namespace

/// A translators' file is damaged or a table, and every text can stand in one.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > kLongestInput) return 0;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  lookUp(text);
  writeAndFind(text);
  return 0;
}
