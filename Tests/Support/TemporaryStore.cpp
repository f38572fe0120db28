#include "Tests/Support/TemporaryStore.h"

#include <stdexcept>

namespace support {

using coredata::NSManagedObjectModel;
using coredata::NSPersistentContainer;
using foundation::Ref;
using foundation::URL;

Ref<const NSManagedObjectModel> loadedModel() {
  const std::string path = TEST_RESOURCE_DIR "/coredata.bundle/Model.momd/";
  std::string why;
  Ref<const NSManagedObjectModel> model =
      NSManagedObjectModel::contentsOf(URL::fileURL(path), &why);
  if (!model) throw std::runtime_error("no model in " + path + ": " + why);
  return model;
}

Ref<const NSManagedObjectModel> currentModel() {
  static const auto* const model = new Ref<const NSManagedObjectModel>(loadedModel());
  return *model;
}

Ref<NSPersistentContainer> containerWithoutStore() {
  return foundation::make<NSPersistentContainer>("Model", currentModel());
}

TemporaryStore::TemporaryStore() : container_(opened()) {}

URL TemporaryStore::url() const {
  return URL::fileURL((directory_.path() / "Model.sqlite").string());
}

Ref<NSPersistentContainer> TemporaryStore::opened() const {
  auto container = containerWithoutStore();
  coredata::NSPersistentStoreDescription description(url());
  description.setOption(true, coredata::NSPersistentHistoryTrackingKey);
  container->setPersistentStoreDescriptions({description});
  container->loadPersistentStores([](const auto&, const std::optional<foundation::Error>& error) {
    if (error) error->raise();
  });
  return container;
}

void TemporaryStore::reopen() {
  container_ = nullptr;
  container_ = opened();
}

}  // namespace support
