#include "CoreData/SQLite/StoreMetadata.h"

#include <array>
#include <cstdint>
#include <map>
#include <string>

#include "CoreData/SQLite/Connection.h"
#include "CoreData/SQLite/MetadataText.h"
#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/StoreSchema.h"
#include "CoreData/SQLite/TextPieces.h"
#include "Foundation/Internal/Hexadecimal.h"

namespace coredata {

using foundation::UUID;
using foundation::ValueDictionary;
using foundation::ValueList;

namespace {
constexpr std::string_view kChecksumKey = "_checksum";
constexpr std::array<std::string_view, 5> kIdentifyingKeys = {
    NSStoreTypeKey, NSStoreUUIDKey, NSStoreModelVersionHashesKey, NSStoreModelVersionIdentifiersKey,
    NSPersistenceFrameworkVersionKey};

/// FNV-1a over keys and texts in the order of the keys, each followed by a NUL.
class Checksum {
 public:
  void add(std::string_view text) noexcept {
    for (const char character : text) addByte(static_cast<std::uint8_t>(character));
    addByte(0);
  }
  [[nodiscard]] std::string text() const {
    static constexpr std::string_view kDigits = "0123456789abcdef";
    std::string result(16, '0');
    for (std::size_t i = 0; i < 16; ++i) result[15 - i] = kDigits[state_ >> (4 * i) & 15];
    return result;
  }

 private:
  void addByte(std::uint8_t byte) noexcept { state_ = (state_ ^ byte) * 0x100000001b3; }
  std::uint64_t state_ = 0xcbf29ce484222325;
};

constexpr const char* kSelect = "SELECT key, value FROM _metadata ORDER BY key";

/// The hashes' text as `metadataText` makes it, in pieces.
template <typename Text>
void giveHashes(const NSManagedObjectModel& model, Text& text) {
  text("{\"dictionary\":{");
  for (std::string_view separator; const NSEntityDescription* entity : model.entities()) {
    text(separator);
    text("\"");
    text(entity->name());
    text("\":{\"data\":\"");
    text(foundation::hexadecimal(entity->versionHash()));
    text("\"}");
    separator = ",";
  }
  text("}}");
}

void insert(Statement& statement, std::string_view key, std::string_view value) {
  statement.bindText(1, key);
  statement.bindText(2, value);
  statement.run();
}
}  // namespace

ValueDictionary identifyingMetadata(const NSManagedObjectModel& model, const UUID& identifier) {
  ValueList identifiers;
  for (const std::string& text : model.versionIdentifiers()) identifiers.emplace_back(text);
  return {{std::string(NSStoreTypeKey), "SQLite"},
          {std::string(NSStoreUUIDKey), identifier.uuidString()},
          {std::string(NSStoreModelVersionHashesKey), model.entityVersionHashesByName()},
          {std::string(NSStoreModelVersionIdentifiersKey), std::move(identifiers)},
          {std::string(NSPersistenceFrameworkVersionKey), kStoreFormatVersion}};
}

ValueDictionary mergedMetadata(ValueDictionary program, const ValueDictionary& identity) {
  for (const auto& [key, value] : program) {
    if (key.empty() || key.front() == '_') {
      throw storeError(StoreErrorCode::invalidMetadata,
                       "\"" + key + "\" cannot be a key of store metadata.");
    }
  }
  for (const std::string_view key : kIdentifyingKeys) {
    if (const auto found = identity.find(key); found != identity.end()) {
      program.insert_or_assign(found->first, found->second);
    }
  }
  return program;
}

std::optional<UUID> storeIdentifier(const ValueDictionary& metadata) {
  const auto found = metadata.find(NSStoreUUIDKey);
  if (found == metadata.end() || found->second.text() == nullptr) return std::nullopt;
  return UUID::fromString(*found->second.text());
}

std::optional<UUID> identifierOfStore(Connection& connection, const NSManagedObjectModel& model) {
  Statement statement(connection, kSelect);
  std::optional<UUID> identifier;
  bool isOfModel = false;
  Checksum checksum;
  std::string expected;
  while (statement.step()) {
    const std::string_view key = statement.text(0);
    const std::string_view text = statement.text(1);
    if (key == kChecksumKey) {
      expected = text;
      continue;
    }
    checksum.add(key);
    checksum.add(text);
    if (key == NSStoreModelVersionHashesKey) {
      isOfModel = isText(text, [&](auto& piece) { giveHashes(model, piece); });
    }
    if (key == NSStoreUUIDKey && text.size() > 2) {
      identifier = UUID::fromString(text.substr(1, text.size() - 2));
    }
  }
  return isOfModel && expected == checksum.text() ? identifier : std::nullopt;
}

ValueDictionary readMetadata(Connection& connection) {
  const auto damaged = [](const std::string& what) {
    return storeError(StoreErrorCode::damaged, "The store's metadata is damaged: " + what);
  };
  Statement statement(connection, kSelect);
  ValueDictionary result;
  Checksum checksum;
  std::string expected;
  while (statement.step()) {
    const std::string key(statement.text(0));
    if (key == kChecksumKey) {
      expected = statement.text(1);
      continue;
    }
    checksum.add(key);
    checksum.add(statement.text(1));
    auto value = metadataValue(statement.text(1));
    if (!value) throw damaged("the value of \"" + key + "\" cannot be read.");
    result.emplace(key, std::move(*value));
  }
  if (expected != checksum.text()) throw damaged("its checksum does not fit.");
  return result;
}

void writeMetadata(Connection& connection, const ValueDictionary& metadata) {
  std::map<std::string, std::string, std::less<>> texts;
  for (const auto& [key, value] : metadata) texts.emplace(key, metadataText(value));
  connection.execute("DELETE FROM _metadata");
  Statement statement(connection, "INSERT INTO _metadata(key, value) VALUES(?, ?)");
  Checksum checksum;
  for (const auto& [key, text] : texts) {
    checksum.add(key);
    checksum.add(text);
    insert(statement, key, text);
  }
  insert(statement, kChecksumKey, checksum.text());
}

}  // namespace coredata
