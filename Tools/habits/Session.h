#pragma once

#include <optional>
#include <string>

#include "CoreData/Container/NSPersistentContainer.h"

namespace habits {

/// Tells the platform where this program keeps its files, and where photos lay in older versions:
/// to be called before anything else. Throws `foundation::Error` for a user without a home.
void setUpDirectories();

/// The model of the newest version. Throws when the program is not installed completely.
[[nodiscard]] foundation::Ref<const coredata::NSManagedObjectModel> newestModel();

/// The store that a command line means: the named file, or the user's own.
[[nodiscard]] std::string storePath(const std::optional<std::string>& named);

/// One run of the program over its open store.
///
/// Threading: belongs to the main thread.
class Session {
 public:
  /// Opens the store and makes it if it is missing. Removes photo files that a migration killed at
  /// its end left over.
  /// Throws `foundation::Error`.
  explicit Session(const std::string& path);

  [[nodiscard]] coredata::NSManagedObjectContext& context() const {
    return *container_->viewContext();
  }
  [[nodiscard]] const foundation::Ref<coredata::NSManagedObjectContext>& contextHandle() const {
    return container_->viewContext();
  }

 private:
  foundation::Ref<coredata::NSPersistentContainer> container_;
};

}  // namespace habits
