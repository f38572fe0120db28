#include "CoreData/SQLite/StorePragmas.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "CoreData/SQLite/SQLiteStoreError.h"

namespace coredata {

namespace {
constexpr std::string_view kJournalModes[] = {"WAL", "DELETE"};
constexpr std::string_view kSynchronous[] = {"NORMAL", "FULL", "EXTRA", "1", "2", "3"};
constexpr std::string_view kTempStore[] = {"DEFAULT", "FILE", "MEMORY", "0", "1", "2"};
constexpr std::string_view kSecureDelete[] = {"ON", "OFF", "FAST", "0", "1"};

std::string folded(std::string_view text, char first, char last, int shift) {
  std::string result(text);
  for (char& character : result) {
    if (character >= first && character <= last) character = static_cast<char>(character + shift);
  }
  return result;
}

bool isNumber(std::string_view text) {
  if (!text.empty() && text.front() == '-') text.remove_prefix(1);
  return !text.empty() && text.size() <= 9 &&
         std::ranges::all_of(text, [](char digit) { return digit >= '0' && digit <= '9'; });
}

bool isAllowed(std::string_view name, std::string_view value) {
  const auto contains = [value](const auto& values) {
    return std::ranges::find(values, value) != std::end(values);
  };
  if (name == "journal_mode") return contains(kJournalModes);
  if (name == "synchronous") return contains(kSynchronous);
  if (name == "temp_store") return contains(kTempStore);
  if (name == "secure_delete") return contains(kSecureDelete);
  return name == "cache_size" && isNumber(value);
}

/// SQLite's FULL confirms a commit before the removal of its rollback journal is on the disk; a
/// journal that is there again after a loss of power takes the commit back.
std::string confirming(std::string_view name, std::string value) {
  const bool isFull = name == "synchronous" && (value == "FULL" || value == "2");
  return isFull ? "EXTRA" : std::move(value);
}
}  // namespace

std::map<std::string, std::string> checkedPragmas(
    const std::map<std::string, std::string>& pragmas) {
  std::map<std::string, std::string> result;
  for (const auto& [givenName, givenValue] : pragmas) {
    const std::string name = folded(givenName, 'A', 'Z', 'a' - 'A');
    std::string value = folded(givenValue, 'a', 'z', 'A' - 'a');
    if (!isAllowed(name, value)) {
      std::string text = "A store takes no pragma \"";
      text.append(givenName).append("\" with the value \"").append(givenValue).append("\".");
      throw storeError(StoreErrorCode::invalidOption, text);
    }
    result.emplace(name, confirming(name, std::move(value)));
  }
  return result;
}

}  // namespace coredata
