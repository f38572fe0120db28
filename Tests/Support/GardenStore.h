#pragma once

#include <string>

#include "CoreData/Container/NSPersistentContainer.h"
#include "Tests/Support/GardenModel.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace garden {

/// A container with the garden's store at that place, which is made if it is missing.
[[nodiscard]] inline foundation::Ref<coredata::NSPersistentContainer> openedAt(
    const foundation::URL& url) {
  auto container = foundation::make<coredata::NSPersistentContainer>("garden", model());
  coredata::NSPersistentStoreDescription description(url);
  description.setOption(true, coredata::NSPersistentHistoryTrackingKey);
  container->setPersistentStoreDescriptions({description});
  container->loadPersistentStores([](const auto&, const std::optional<foundation::Error>& error) {
    if (error) throw foundation::Error(*error);
  });
  return container;
}

/// A store of the garden schema in a directory of its own, opened by one container.
class Store {
 public:
  Store() : container_(opened()) {}

  [[nodiscard]] foundation::URL url() const {
    return foundation::URL::fileURL((directory_.path() / "garden.sqlite").string());
  }
  [[nodiscard]] const std::filesystem::path& directory() const { return directory_.path(); }
  [[nodiscard]] coredata::NSPersistentContainer& container() const { return *container_; }
  [[nodiscard]] foundation::Ref<coredata::NSManagedObjectContext> newContext() const {
    return container_->newBackgroundContext();
  }
  /// Another container over the same file, as another process would have.
  [[nodiscard]] foundation::Ref<coredata::NSPersistentContainer> opened() const {
    return openedAt(url());
  }
  /// Closes the store and opens it again.
  void reopen() {
    container_ = nullptr;
    container_ = opened();
  }

 private:
  support::TemporaryDirectory directory_;
  foundation::Ref<coredata::NSPersistentContainer> container_;
};

}  // namespace garden
