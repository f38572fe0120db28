#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "CoreData/Context/NSManagedObjectContext.h"
#include "CoreData/Coordinator/NSPersistentStoreCoordinator.h"
#include "CoreData/Coordinator/NSPersistentStoreDescription.h"
#include "Foundation/Values/Error.h"

namespace coredata {

/// A model, its coordinator and the main context, put together for a program, with the descriptions
/// of the store that is to be opened.
///
/// Threading: `newBackgroundContext` may be used on any thread; the rest belongs to the thread that
/// made the container.
class NSPersistentContainer : public foundation::Object {
 public:
  NSPersistentContainer(std::string name,
                        foundation::Ref<const NSManagedObjectModel> managedObjectModel);

  [[nodiscard]] const std::string& name() const noexcept { return name_; }
  [[nodiscard]] const NSManagedObjectModel& managedObjectModel() const noexcept {
    return coordinator_->managedObjectModel();
  }
  [[nodiscard]] const foundation::Ref<NSPersistentStoreCoordinator>& persistentStoreCoordinator()
      const noexcept {
    return coordinator_;
  }
  /// The context of the main queue, made with the container: no author, error merge policy, no
  /// automatic merging.
  [[nodiscard]] const foundation::Ref<NSManagedObjectContext>& viewContext() const noexcept {
    return viewContext_;
  }
  /// A new context of a private queue, which merges what the container's other contexts save.
  [[nodiscard]] foundation::Ref<NSManagedObjectContext> newBackgroundContext() const;

  [[nodiscard]] const std::vector<NSPersistentStoreDescription>& persistentStoreDescriptions()
      const noexcept {
    return descriptions_;
  }
  void setPersistentStoreDescriptions(std::vector<NSPersistentStoreDescription> descriptions) {
    descriptions_ = std::move(descriptions);
  }

  /// Adds the store of each description in turn, and calls the handler with the description and
  /// with the error if it failed; one that fails does not stop the others. Returns after the last
  /// call.
  void loadPersistentStores(
      const std::function<void(const NSPersistentStoreDescription& description,
                               const std::optional<foundation::Error>& error)>& completionHandler);

 protected:
  ~NSPersistentContainer() override;

 private:
  std::string name_;
  foundation::Ref<NSPersistentStoreCoordinator> coordinator_;
  foundation::Ref<NSManagedObjectContext> viewContext_;
  std::vector<NSPersistentStoreDescription> descriptions_;
};

}  // namespace coredata
