#pragma once

#include "Foundation/Notifications/NSNotificationName.h"

namespace coredatastack {

/// The names that frame a migration, on the default notification center, with no object and no user
/// info.
struct CoreDataMigratorNotificationName : foundation::NSNotificationName {
  /// Posted before the migration is handed to its queue.
  static constexpr NSNotificationName coreDataMigratorStarted{"CoreDataMigrator.started"};
  /// Posted when it has ended, whether it succeeded or failed.
  static constexpr NSNotificationName coreDataMigratorFinished{"CoreDataMigrator.finished"};
};

}  // namespace coredatastack
