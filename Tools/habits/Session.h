#pragma once

#include <optional>
#include <string>

#include "CoreData/Container/NSPersistentContainer.h"

namespace habits {

/// The store that a command line means: the named file, or the user's own.
[[nodiscard]] std::string storePath(const std::optional<std::string>& named);

/// One run of the program over its open store.
///
/// Threading: belongs to the main thread.
class Session {
 public:
  /// Opens the store and makes it if it is missing, the directory of the user's own with it.
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
