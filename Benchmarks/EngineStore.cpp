#include "Benchmarks/EngineStore.h"

#include <stdexcept>

namespace benchmarks {

using coredata::NSManagedObjectModel;
using coredata::NSPersistentContainer;
using foundation::Ref;
using foundation::URL;

namespace {

Ref<const NSManagedObjectModel> loadedModel() {
  const std::string path = BENCHMARK_RESOURCE_DIR "/coredata.bundle/Model.momd/";
  std::string why;
  Ref<const NSManagedObjectModel> model =
      NSManagedObjectModel::contentsOf(URL::fileURL(path), &why);
  if (!model) throw std::runtime_error("no model in " + path + ": " + why);
  return model;
}

const Ref<const NSManagedObjectModel>& currentModel() {
  static const auto* const model = new Ref<const NSManagedObjectModel>(loadedModel());
  return *model;
}

}  // namespace

EngineStore::EngineStore(const std::string& path, Durability durability,
                         RemoteChanges remoteChanges)
    : container_(foundation::make<NSPersistentContainer>("Model", currentModel())) {
  coredata::NSPersistentStoreDescription description(URL::fileURL(path));
  description.setOption(true, coredata::NSPersistentHistoryTrackingKey);
  description.setOption(remoteChanges == RemoteChanges::watched,
                        coredata::NSPersistentStoreRemoteChangeNotificationPostOptionKey);
  if (durability == Durability::normal) description.setValue("NORMAL", "synchronous");
  container_->setPersistentStoreDescriptions({description});
  container_->loadPersistentStores([](const auto&, const std::optional<foundation::Error>& error) {
    if (error) error->raise();
  });
  context_ = container_->newBackgroundContext();
}

coredata::NSFetchRequest<coredatastack::CDActivity> firstActivity() {
  auto request = coredatastack::CDActivity::fetchRequest();
  request.setFetchLimit(1);
  return request;
}

}  // namespace benchmarks
