#include "CoreData/SQLite/StoreOpening.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <vector>

#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/SchemaCheck.h"
#include "CoreData/SQLite/StoreFile.h"
#include "CoreData/SQLite/StoreMarks.h"
#include "CoreData/SQLite/StoreMetadata.h"
#include "CoreData/SQLite/StorePragmas.h"
#include "CoreData/SQLite/StoreSchema.h"
#include "CoreData/SQLite/WriteAheadLog.h"

namespace coredata {

using foundation::Error;
using foundation::UUID;
using foundation::ValueDictionary;

namespace {
std::int64_t readNumber(Connection& connection, const char* sql) {
  Statement statement(connection, sql);
  return statement.step() ? statement.integer(0) : 0;
}

void createStore(Connection& connection, const StoreOptions& options,
                 const NSManagedObjectModel& model) {
  connection.execute(("PRAGMA page_size=" + std::to_string(kStorePageSize)).c_str());
  connection.beginWriting();
  // Somebody else may have been faster; then theirs is the store.
  // (The number of pages does not tell: the transaction itself has begun the first one.)
  if (readNumber(connection, "PRAGMA schema_version") != 0) return connection.rollBack();
  connection.execute(("PRAGMA application_id=" + std::to_string(kStoreApplicationId)).c_str());
  connection.execute(("PRAGMA user_version=" + std::to_string(kStoreFormatVersion)).c_str());
  for (const SchemaObject& object : storeSchema(model)) {
    if (object.kind == SchemaObject::Kind::index && !options.buildsIndexes) continue;
    connection.execute(object.sql.c_str());
  }
  const UUID identifier = options.newIdentifier.value_or(UUID());
  writeMetadata(connection,
                mergedMetadata(options.newMetadata, identifyingMetadata(model, identifier)));
  connection.commit();
}

/// The number at the end of a version's name, and what stands before it.
std::pair<std::string_view, long> splitName(std::string_view name) {
  const std::size_t end = name.find_last_not_of("0123456789") + 1;
  const std::string digits(name.substr(end));
  return {name.substr(0, end), digits.empty() || digits.size() > 9 ? -1 : std::stol(digits)};
}

std::string namesOf(const ValueDictionary& metadata) {
  const auto found = metadata.find(NSStoreModelVersionIdentifiersKey);
  return found == metadata.end() ? "none" : found->second.description();
}

void requireCompatible(const ValueDictionary& metadata, const NSManagedObjectModel& model,
                       const std::string& path) {
  if (model.isConfiguration(std::nullopt, metadata)) return;
  if (isNewer(metadata, model)) {
    throw storeError(StoreErrorCode::newerVersion,
                     "The store " + path +
                         " was written by a newer version of this program; its model is " +
                         namesOf(metadata) + ".");
  }
  throw storeError(StoreErrorCode::incompatibleModel,
                   "The store " + path + " was written with another version of the model, " +
                       namesOf(metadata) + "; it has to be migrated first.");
}

/// The identifier of a store whose metadata is sound and of that model; throws for any other.
UUID requireIdentifier(Connection& connection, const NSManagedObjectModel& model,
                       const std::string& path) {
  if (const auto identifier = identifierOfStore(connection, model)) return *identifier;
  const ValueDictionary metadata = readMetadata(connection);
  requireCompatible(metadata, model, path);
  if (const auto identifier = storeIdentifier(metadata)) return *identifier;
  throw storeError(StoreErrorCode::damaged, "The store " + path + " has no identifier.");
}

/// Looks through schema and metadata, in the state that is being read, and ends the reading.
void verify(OpenedStore& store, const StoreOptions& options, const NSManagedObjectModel& model) {
  Connection& connection = *store.connection;
  const SchemaCheck check = checkSchema(connection, model);
  if (!check.hasMetadata) {
    throw storeError(StoreErrorCode::damaged, "The store " + store.path + " has no metadata.");
  }
  store.identifier = requireIdentifier(connection, model, store.path);
  if (!check.problem.empty()) {
    throw storeError(StoreErrorCode::foreignSchema,
                     "The store " + store.path + " is not used: " + check.problem);
  }
  if (options.announcesChanges && options.historyTracking)
    store.newestTransaction = newestRecordIn(connection);
  store.schemaVersion = connection.schemaVersion();
  connection.seenDataVersion = connection.dataVersion();
  connection.rollBack();
  if (check.indexChanges.empty() || options.readOnly || !options.buildsIndexes) return;
  rebuildIndexes(connection, model);
  store.schemaVersion = connection.schemaVersion();
}

std::string setJournalMode(Connection& connection, const char* sql) {
  Statement statement(connection, sql);
  std::string mode = statement.step() ? std::string(statement.text(0)) : std::string();
  // The answer comes first. What it says is committed when the statement ends, which may fail.
  while (statement.step()) continue;
  return mode;
}

/// Leaves the log for a rollback journal. While others have the store open that is refused; then as
/// much as possible of the log is copied into the file, which is what leaving it is wanted for.
bool leaveLog(Connection& connection, const std::string& path) {
  // A log left behind by a file that no longer uses one would be taken for newer than the file.
  connection.setKeepsLogFile(false);
  try {
    if (setJournalMode(connection, "PRAGMA journal_mode=DELETE") == "delete") return true;
  } catch (const Error& error) {
    const auto code = error.code() & 0xff;
    if (code != SQLITE_BUSY && code != SQLITE_LOCKED) throw;
  }
  connection.setKeepsLogFile(true);
  WriteAheadLog(path).fold(connection);
  return false;
}

void keepJournalInMemory(OpenedStore& store) {
  store.connection->setKeepsLogFile(false);
  store.usesLog = setJournalMode(*store.connection, "PRAGMA journal_mode=MEMORY") == "wal";
  store.settings.pragmas.insert_or_assign("journal_mode", "MEMORY");
}

/// Begins a log; its mode in the end. SQLite asks for the write lock without waiting for it, so
/// that whoever writes just then, or begins the log as well, is waited for here.
std::string beginLog(Connection& connection, std::chrono::milliseconds patience) {
  const auto deadline = std::chrono::steady_clock::now() + patience;
  while (true) {
    try {
      return setJournalMode(connection, "PRAGMA journal_mode=WAL");
    } catch (const Error& error) {
      if (!saysBusy(error) || std::chrono::steady_clock::now() >= deadline) throw;
    }
    connection.beginWriting();
    connection.rollBack();
  }
}

/// Runs `work` with commits that wait for the disk, also where those of the store need not: with a
/// rollback journal a loss of power during one that does not may cost the file.
template <typename Work>
void waitingForDisk(const OpenedStore& store, Work&& work) {
  const auto asked = store.settings.pragmas.find("synchronous");
  const bool isLess =
      asked != store.settings.pragmas.end() && (asked->second == "NORMAL" || asked->second == "1");
  if (!isLess) return work();
  store.connection->execute("PRAGMA synchronous=EXTRA");
  work();
  store.connection->execute(("PRAGMA synchronous=" + asked->second).c_str());
}

void chooseJournal(OpenedStore& store, const StoreOptions& options) {
  if (options.isScratch) return keepJournalInMemory(store);
  const auto mode = store.settings.pragmas.find("journal_mode");
  if (mode != store.settings.pragmas.end() && mode->second == "DELETE") {
    store.usesLog = !leaveLog(*store.connection, store.path);
    return;
  }
  if (beginLog(*store.connection, options.busyTimeout) == "wal") return;
  throw storeError(StoreErrorCode::notWritable,
                   "The store " + store.path +
                       " lies where no log can be kept beside it, perhaps on a network.");
}

ConnectionSettings settingsFor(const StoreOptions& options) {
  ConnectionSettings settings{options.readOnly, options.busyTimeout,
                              checkedPragmas(options.pragmas)};
  if (options.isScratch && !options.readOnly)
    settings.pragmas.insert_or_assign("synchronous", "OFF");
  return settings;
}
}  // namespace

bool isNewer(const ValueDictionary& metadata, const NSManagedObjectModel& model) {
  const auto found = metadata.find(NSStoreModelVersionIdentifiersKey);
  const auto* names = found == metadata.end() ? nullptr : found->second.list();
  if (names == nullptr) return false;
  return std::ranges::any_of(*names, [&](const foundation::Value& value) {
    if (value.text() == nullptr) return false;
    const auto [name, number] = splitName(*value.text());
    return std::ranges::any_of(model.versionIdentifiers(), [&](const std::string& own) {
      const auto [ownName, ownNumber] = splitName(own);
      return name == ownName && ownNumber >= 0 && number > ownNumber;
    });
  });
}

OpenedStore openStore(const StoreOptions& options, const NSManagedObjectModel& model) {
  OpenedStore store;
  store.path = pathOf(options.url);
  store.settings = settingsFor(options);
  requireFile(store.path, !options.readOnly);
  try {
    store.connection = std::make_unique<Connection>(store.path, store.settings);
    Connection& connection = *store.connection;
    if (!options.readOnly) requireWritable(connection, store.path);
    // One state of the store from here to the end of the check: else another process could make it
    // in between.
    connection.beginReading();
    if (contentOf(connection, store.path) == StoreContent::nothing) {
      connection.rollBack();
      if (options.readOnly) {
        throw storeError(StoreErrorCode::missing, "There is no store in " + store.path + ".");
      }
      waitingForDisk(store, [&] { createStore(connection, options, model); });
      connection.beginReading();
    }
    verify(store, options, model);
    if (!options.readOnly) waitingForDisk(store, [&] { chooseJournal(store, options); });
    return store;
  } catch (const Error& error) {
    throwMeaning(error, store.path);
  }
}

StoreContent contentOf(Connection& connection, const std::string& path) {
  const std::int64_t application = readNumber(connection, "PRAGMA application_id");
  if (application == kStoreApplicationId) {
    if (readNumber(connection, "PRAGMA user_version") <= kStoreFormatVersion)
      return StoreContent::store;
    throw storeError(StoreErrorCode::newerVersion,
                     "The store " + path + " was written by a newer version of this program.");
  }
  if (readNumber(connection, "PRAGMA page_count") == 0) return StoreContent::nothing;
  throw storeError(StoreErrorCode::notAStore,
                   "The file " + path + " is a database, but not a store of this program.");
}

void requireWritable(const Connection& connection, const std::string& path) {
  if (sqlite3_db_readonly(connection.handle(), "main") != 1) return;
  throw storeError(StoreErrorCode::notWritable,
                   "The store " + path + " may only be read, not written.");
}

std::unique_ptr<Connection> openForReading(const std::string& path) {
  requireFile(path, false);
  ConnectionSettings settings;
  settings.readOnly = true;
  auto connection = std::make_unique<Connection>(path, settings);
  connection->begin();
  if (contentOf(*connection, path) == StoreContent::nothing)
    throw storeError(StoreErrorCode::missing, "There is no store in " + path + ".");
  return connection;
}

ValueDictionary metadataOfFile(const foundation::URL& url) {
  const std::string path = pathOf(url);
  try {
    return readMetadata(*openForReading(path));
  } catch (const Error& error) {
    throwMeaning(error, path);
  }
}

}  // namespace coredata
