#pragma once

#include <string>

#include "CoreData/Container/NSPersistentContainer.h"
#include "Foundation/Values/URL.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace support {

/// The compiled model of the current version, as the library's bundle ships it. Loaded once.
[[nodiscard]] foundation::Ref<const coredata::NSManagedObjectModel> currentModel();

/// The same, loaded anew.
[[nodiscard]] foundation::Ref<const coredata::NSManagedObjectModel> loadedModel();

/// A container over the current model without a store: objects can be made, and every fetch, count
/// and save fails.
[[nodiscard]] foundation::Ref<coredata::NSPersistentContainer> containerWithoutStore();

/// A new store of the current version in a directory of its own, opened by one container. Gone with
/// its files when it dies.
class TemporaryStore {
 public:
  TemporaryStore();

  [[nodiscard]] const std::filesystem::path& directory() const { return directory_.path(); }
  [[nodiscard]] foundation::URL url() const;
  [[nodiscard]] coredata::NSPersistentContainer& container() const { return *container_; }

  /// The main context, which a test may use directly on the main thread.
  [[nodiscard]] coredata::NSManagedObjectContext& context() const {
    return *container_->viewContext();
  }
  [[nodiscard]] const foundation::Ref<coredata::NSManagedObjectContext>& contextHandle() const {
    return container_->viewContext();
  }
  /// A context on a private queue: use it inside its blocks.
  [[nodiscard]] foundation::Ref<coredata::NSManagedObjectContext> newBackgroundContext() const {
    return container_->newBackgroundContext();
  }

  /// Another container over the same file, as another process would have.
  [[nodiscard]] foundation::Ref<coredata::NSPersistentContainer> opened() const;
  /// Closes the store and opens it again: what is read afterwards comes from the file. Objects of
  /// before are dead.
  void reopen();

 private:
  TemporaryDirectory directory_;
  foundation::Ref<coredata::NSPersistentContainer> container_;
};

}  // namespace support
