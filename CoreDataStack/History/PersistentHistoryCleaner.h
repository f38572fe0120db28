#pragma once

#include <vector>

#include "CoreData/Context/NSManagedObjectContext.h"
#include "CoreDataStack/History/AppTarget.h"
#include "Foundation/Files/UserDefaults.h"

namespace coredatastack {

/// Deletes the history that every target has merged.
///
/// After a deletion all targets' timestamps are gone: each next merge starts at what is left, and
/// merges once more what it had merged since the cut.
///
/// Threading: in the context's turn.
class PersistentHistoryCleaner {
 public:
  /// `context` executes the deletion.
  PersistentHistoryCleaner(foundation::Ref<coredata::NSManagedObjectContext> context,
                           std::vector<AppTarget> targets,
                           foundation::Ref<foundation::UserDefaults> userDefaults);

  /// Says on standard output what it does. Throws the store's errors, with the timestamps as they
  /// were. Stops the process when there are no targets.
  void clean() const;

 private:
  foundation::Ref<coredata::NSManagedObjectContext> context_;
  std::vector<AppTarget> targets_;
  foundation::Ref<foundation::UserDefaults> userDefaults_;
};

}  // namespace coredatastack
