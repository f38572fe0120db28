#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "Foundation/Values/URL.h"
#include "Foundation/Values/UUID.h"
#include "Foundation/Values/Value.h"

namespace coredata {

/// How a store file is to be opened.
struct StoreOptions {
  explicit StoreOptions(foundation::URL location) : url(std::move(location)) {}

  /// Where the file lies. Its directory must exist.
  foundation::URL url;
  /// Opens an existing file and never writes to it.
  bool readOnly = false;
  /// Whether saves leave a record of what they changed.
  bool historyTracking = false;
  /// Whether whoever watches the store is told of a commit although it leaves no record.
  bool announcesChanges = false;
  /// The program on whose behalf history is written; the main bundle's when none is given, looked
  /// up with the first transaction because that takes a tenth of the time of an opening.
  std::optional<std::string> bundleIdentifier;
  /// SQLite pragmas, name to value: `journal_mode` (WAL, DELETE), `synchronous` (NORMAL, FULL,
  /// EXTRA), `cache_size`, `temp_store` (DEFAULT, FILE, MEMORY), `secure_delete` (ON, OFF, FAST).
  /// Anything else is refused.
  std::map<std::string, std::string> pragmas;
  /// How long to wait for another writer before giving up.
  std::chrono::milliseconds busyTimeout{5000};
  /// For a file that nobody misses when the process dies, such as a step of a migration: written
  /// without waiting for the disk, with neither a log nor a journal beside it. A death in the
  /// middle of a write leaves it damaged.
  bool isScratch = false;
  /// False for a store that is to be filled first and read later: a new file gets no indexes, and
  /// those that one has are left as they are. See `SQLiteStore::buildIndexes`.
  bool buildsIndexes = true;

  /// What a new file starts with; an existing one keeps what it has. A migration hands on the old
  /// store's identifier and the metadata of the program.
  std::optional<foundation::UUID> newIdentifier;
  foundation::ValueDictionary newMetadata;
};

}  // namespace coredata
