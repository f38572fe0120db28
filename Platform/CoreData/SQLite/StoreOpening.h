#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "CoreData/Model/NSManagedObjectModel.h"
#include "CoreData/SQLite/Connection.h"
#include "CoreData/SQLite/StoreOptions.h"

namespace coredata {

/// A store file that was made or found in order.
struct OpenedStore {
  std::string path;
  ConnectionSettings settings;
  std::unique_ptr<Connection> connection;
  foundation::UUID identifier = foundation::UUID::empty();
  std::int64_t schemaVersion = 0;
  /// The newest transaction's number in the state that was looked through; 0 unless changes are to
  /// be announced.
  std::int64_t newestTransaction = 0;
  /// Whether commits go to a log, rather than a rollback journal.
  bool usesLog = true;
};

/// Opens the file and makes sure that it is a store of the model, whole as far as its schema and
/// metadata tell, with nothing in it that no store has. Makes a new one when the file is missing or
/// empty.
[[nodiscard]] OpenedStore openStore(const StoreOptions& options, const NSManagedObjectModel& model);

/// What a file's header says it is.
enum class StoreContent : std::uint8_t { nothing, store };

/// Begins to read the file, so this is where a file that is no database shows. Throws for another
/// program's database and for a later version's store.
[[nodiscard]] StoreContent contentOf(Connection& connection, const std::string& path);

/// Whether the metadata name a later version of the model than this one.
[[nodiscard]] bool isNewer(const foundation::ValueDictionary& metadata,
                           const NSManagedObjectModel& model);

/// Throws when the file may only be read.
void requireWritable(const Connection& connection, const std::string& path);

/// A connection that creates and changes nothing, in a transaction that reads the store. Throws
/// when there is none.
[[nodiscard]] std::unique_ptr<Connection> openForReading(const std::string& path);

/// A store's metadata, read through a connection of its own that creates nothing.
[[nodiscard]] foundation::ValueDictionary metadataOfFile(const foundation::URL& url);

}  // namespace coredata
