#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "CoreData/Context/NSManagedObjectContext.h"
#include "CoreData/Coordinator/NSPersistentStoreCoordinator.h"
#include "CoreData/Fetching/NSFetchRequest.h"
#include "CoreData/Migration/NSEntityMigrationPolicy.h"
#include "CoreData/Migration/NSMigrationManager.h"
#include "CoreData/Model/ModelBuilder.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace migration {

using coredata::NSManagedObject;
using coredata::NSManagedObjectContext;
using coredata::NSManagedObjectModel;
using coredata::NSMappingModel;
using foundation::Ref;

using Model = Ref<const NSManagedObjectModel>;
using Objects = std::vector<Ref<NSManagedObject>>;

/// A context over a store, on a private queue.
[[nodiscard]] inline Ref<NSManagedObjectContext> opened(const foundation::URL& url,
                                                        const Model& model) {
  auto coordinator = foundation::make<coredata::NSPersistentStoreCoordinator>(model);
  coredata::NSPersistentStoreDescription description(url);
  description.setOption(true, coredata::NSPersistentHistoryTrackingKey);
  coordinator->addPersistentStore(description);
  return foundation::make<NSManagedObjectContext>(
      coordinator, coredata::NSManagedObjectContextConcurrencyType::privateQueue);
}

/// A store of one model beside the one that it becomes in another, in a directory of their own.
class MigratedStore {
 public:
  MigratedStore(std::string_view sourceModel, std::string_view destinationModel)
      : source_(coredata::modelFromSource(sourceModel)),
        destination_(coredata::modelFromSource(destinationModel)) {}

  [[nodiscard]] foundation::URL oldURL() const { return at("old.sqlite"); }
  [[nodiscard]] foundation::URL newURL() const { return at("new.sqlite"); }
  [[nodiscard]] const Model& sourceModel() const { return source_; }
  [[nodiscard]] const Model& destinationModel() const { return destination_; }

  /// Writes into the old store, which is made when it is missing, and saves.
  void write(const std::function<void(NSManagedObjectContext&)>& work) const {
    const auto context = opened(oldURL(), source_);
    context->performBlockAndWait([&] {
      work(*context);
      context->save();
    });
  }
  void migrate(const Ref<const NSMappingModel>& mapping) const {
    const auto manager = foundation::make<coredata::NSMigrationManager>(source_, destination_);
    manager->migrateStore(oldURL(), coredata::NSSQLiteStoreType, {}, mapping, newURL(),
                          coredata::NSSQLiteStoreType, {});
  }
  void migrateInferred() const {
    migrate(NSMappingModel::inferredMappingModel(*source_, *destination_));
  }
  /// Looks at the new store.
  void read(const std::function<void(NSManagedObjectContext&)>& work) const {
    const auto context = opened(newURL(), destination_);
    context->performBlockAndWait([&] { work(*context); });
  }

 private:
  [[nodiscard]] foundation::URL at(const char* name) const {
    return foundation::URL::fileURL((directory_.path() / name).string());
  }

  support::TemporaryDirectory directory_;
  Model source_;
  Model destination_;
};

/// Makes a class of policies known under that name, which it gives back.
template <typename Policy>
[[nodiscard]] std::string registered(const char* name) {
  coredata::NSEntityMigrationPolicy::registerClass(name, [] { return foundation::make<Policy>(); });
  return name;
}

[[nodiscard]] inline coredata::NSPropertyMapping property(
    const char* name, const std::string& expression, foundation::Value absentReplacement = {}) {
  return {name, coredata::MappingExpression::parse(expression), std::move(absentReplacement)};
}

/// All objects of an entity by ascending key.
[[nodiscard]] inline Objects all(NSManagedObjectContext& context, std::string_view entity) {
  Objects result;
  for (const auto& object : context.fetch(coredata::NSFetchRequest<NSManagedObject>(entity))) {
    result.push_back(object);
  }
  return result;
}

[[nodiscard]] inline coredata::ObjectKey keyOf(const NSManagedObject& object) {
  return object.objectID()->key();
}

}  // namespace migration
