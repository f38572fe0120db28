#pragma once

#include "CoreData/Model/NSManagedObjectModel.h"
#include "CoreDataStack/CoreDataMigratorProtocol.h"
#include "Foundation/Values/Data.h"
#include "Foundation/Values/URL.h"
#include "Logger/Loggable.h"

namespace coredatastack {

/// Puts a backup into a store's place and brings it to the newest version.
///
/// The backup is looked through before the store is touched. A copy of the store is kept until the
/// backup has been brought forward, and put back if that fails. All of it goes on under the store's
/// claim and the temporary directory's lock, so that neither another restore nor a migration comes
/// between; what somebody else commits to the store until the moment of its replacement is in that
/// copy.
///
/// Threading: any thread; `run` returns when all is done.
class BackupRestore {
 public:
  BackupRestore(CoreDataMigratorProtocol& migrator,
                foundation::Ref<const coredata::NSManagedObjectModel> model,
                foundation::Ref<logger::Loggable> logger);

  /// Throws `CoreDataMigratorError::unknownStoreVersion` for bytes that are no sound store of a
  /// version of ours, the temporary directory's errors, and those of the replacement and the
  /// migration unchanged. The store is then as it was; where even putting it back failed, the
  /// logger is told why, and where its copy lies.
  void run(const foundation::Data& backup, const foundation::URL& store) const;

 private:
  class KeptStore;

  void replace(KeptStore& kept, const foundation::URL& store, const foundation::URL& by) const;
  void putBack(KeptStore& kept, const foundation::URL& store) const noexcept;

  CoreDataMigratorProtocol& migrator_;
  foundation::Ref<const coredata::NSManagedObjectModel> model_;
  foundation::Ref<logger::Loggable> logger_;
};

}  // namespace coredatastack
