#include "CoreData/Container/NSPersistentContainer.h"

#include "CoreData/Container/AutomaticMigration.h"

namespace coredata {

using foundation::Error;
using foundation::make;
using foundation::Ref;

namespace {

bool wantsMigration(const NSPersistentStoreDescription& description) {
  return description.url() && description.type() == NSSQLiteStoreType &&
         description.shouldMigrateStoreAutomatically() &&
         description.shouldInferMappingModelAutomatically() && !description.isReadOnly();
}

}  // namespace

NSPersistentContainer::NSPersistentContainer(std::string name,
                                             Ref<const NSManagedObjectModel> managedObjectModel)
    : name_(std::move(name)),
      coordinator_(make<NSPersistentStoreCoordinator>(std::move(managedObjectModel))),
      viewContext_(make<NSManagedObjectContext>(
          coordinator_, NSManagedObjectContextConcurrencyType::mainQueue)) {}

NSPersistentContainer::~NSPersistentContainer() = default;

Ref<NSManagedObjectContext> NSPersistentContainer::newBackgroundContext() const {
  auto context = make<NSManagedObjectContext>(coordinator_,
                                              NSManagedObjectContextConcurrencyType::privateQueue);
  context->setAutomaticallyMergesChangesFromParent(true);
  return context;
}

void NSPersistentContainer::loadPersistentStores(
    const std::function<void(const NSPersistentStoreDescription&, const std::optional<Error>&)>&
        completionHandler) {
  // The handler may replace the descriptions.
  for (const NSPersistentStoreDescription& description : std::vector(descriptions_)) {
    std::optional<Error> failure;
    try {
      if (wantsMigration(description)) {
        migrateAutomatically(*description.url(), coordinator_->sharedManagedObjectModel());
      }
      coordinator_->addPersistentStore(description);
    } catch (const Error& error) {
      failure = error;
    }
    completionHandler(description, failure);
  }
}

}  // namespace coredata
