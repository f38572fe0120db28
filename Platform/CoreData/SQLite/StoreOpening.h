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
  /// Whether commits go to a log, rather than a rollback journal.
  bool usesLog = true;
};

/// Opens the file and makes sure that it is a store of the model, whole as far as its schema and
/// metadata tell, with nothing in it that no store has. Makes a new one when the file is missing or
/// empty.
[[nodiscard]] OpenedStore openStore(const StoreOptions& options, const NSManagedObjectModel& model);

/// A store's metadata, read through a connection of its own that creates nothing.
[[nodiscard]] foundation::ValueDictionary metadataOfFile(const foundation::URL& url);

}  // namespace coredata
