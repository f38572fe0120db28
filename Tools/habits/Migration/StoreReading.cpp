#include "Tools/habits/Migration/StoreReading.h"

#include <utility>

#include "CoreData/Coordinator/NSPersistentStoreCoordinator.h"
#include "CoreData/Fetching/NSFetchRequest.h"

namespace habits {

using coredata::NSFetchRequest;
using coredata::NSManagedObject;
using coredata::NSManagedObjectContext;
using coredata::NSManagedObjectModel;
using coredata::ObjectKey;
using foundation::make;
using foundation::Ref;
using foundation::URL;

Ref<NSManagedObjectContext> contextOver(const URL& store, Ref<const NSManagedObjectModel> model,
                                        bool isReadOnly) {
  const auto coordinator = make<coredata::NSPersistentStoreCoordinator>(std::move(model));
  coredata::NSPersistentStoreDescription description(store);
  description.setReadOnly(isReadOnly);
  coordinator->addPersistentStore(description);
  return make<NSManagedObjectContext>(
      coordinator, coredata::NSManagedObjectContextConcurrencyType::privateQueue);
}

void closeStores(NSManagedObjectContext& context) {
  const auto& coordinator = context.persistentStoreCoordinator();
  for (const auto& store : coordinator->persistentStores()) {
    coordinator->removePersistentStore(store);
  }
}

StoreReading::StoreReading(const URL& store, Ref<const NSManagedObjectModel> model)
    : context_(contextOver(store, std::move(model), true)) {}

StoreReading::~StoreReading() { closeStores(*context_); }

std::int64_t StoreReading::rows(const std::string& ofEntity) const {
  return context_->performBlockAndWait(
      [&] { return context_->count(NSFetchRequest<NSManagedObject>(ofEntity)); });
}

std::vector<ObjectKey> StoreReading::keysWithout(const std::string& attribute,
                                                 const std::string& ofEntity) const {
  NSFetchRequest<NSManagedObject> request(ofEntity);
  request.setPredicate(foundation::NSPredicate::format("%K == nil", attribute));
  std::vector<ObjectKey> keys;
  context_->performBlockAndWait([&] {
    for (const auto& identifier : context_->fetchObjectIDs(request)) {
      keys.push_back(identifier->key());
    }
  });
  return keys;
}

}  // namespace habits
