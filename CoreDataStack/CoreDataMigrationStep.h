#pragma once

#include "CoreData/Migration/Mapping/NSMappingModel.h"
#include "CoreData/Model/NSManagedObjectModel.h"
#include "CoreDataStack/CoreDataMigrationVersion.h"

namespace coredatastack {

/// From one version to the next.
struct CoreDataMigrationStep {
  /// Loads both models, and takes the mapping model that the main bundle has for them; without one
  /// it is inferred. Stops the process when it cannot be inferred, and when the main bundle has a
  /// mapping model that cannot be read: it may have been the one.
  CoreDataMigrationStep(const CoreDataMigrationVersion& from, const CoreDataMigrationVersion& to);

  foundation::Ref<const coredata::NSManagedObjectModel> sourceModel;
  foundation::Ref<const coredata::NSManagedObjectModel> destinationModel;
  foundation::Ref<const coredata::NSMappingModel> mappingModel;
  /// Whether the mapping follows from the two models alone.
  bool isInferred;
};

}  // namespace coredatastack
