#pragma once

#include "CoreDataStack/CoreDataMigrationVersion.h"
#include "Foundation/Values/URL.h"

namespace coredatastack {

/// Brings stores forward. Threading: any thread; a call returns when all is done.
class CoreDataMigratorProtocol {
 public:
  virtual ~CoreDataMigratorProtocol() = default;

  /// Brings the store at the URL to the version. Throws; the store is then as it was, but for its
  /// log, which may have been folded into it.
  virtual void migrateStore(const foundation::URL& at, const CoreDataMigrationVersion& to) = 0;

  /// Whether there is a store at the URL that is of another version, or of none that is known.
  /// False when there is no store to be read.
  [[nodiscard]] virtual bool requiresMigration(const foundation::URL& at,
                                               const CoreDataMigrationVersion& to) const = 0;
};

}  // namespace coredatastack
