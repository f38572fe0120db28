#include "CoreDataStack/CoreDataMigrationStep.h"

#include "CoreDataStack/NSManagedObjectModel+Migration.h"
#include "Foundation/Files/Bundle.h"
#include "Foundation/Values/Error.h"
#include "Foundation/Values/FatalError.h"

namespace coredatastack {

using coredata::NSManagedObjectModel;
using coredata::NSMappingModel;
using foundation::Ref;

namespace {

// Crash reports are grouped by this position. It is not this file's and never changes.
constexpr std::string_view kReportedSource = "CoreDataStack/CoreDataMigrationStep";
constexpr int kNoMappingLine = 17;

Ref<const NSMappingModel> inferred(const NSManagedObjectModel& source,
                                   const NSManagedObjectModel& destination) {
  try {
    return NSMappingModel::inferredMappingModel(source, destination);
  } catch (const foundation::Error&) {
    return nullptr;  // Whoever asked stops the process then, whatever the reason.
  }
}

Ref<const NSMappingModel> mapping(const NSManagedObjectModel& source,
                                  const NSManagedObjectModel& destination) {
  const auto compiled = foundation::Bundle::main().urls("cdm");
  if (auto explicitMapping = NSMappingModel::from(compiled, source, destination)) {
    return explicitMapping;
  }
  return inferred(source, destination);
}

}  // namespace

CoreDataMigrationStep::CoreDataMigrationStep(const CoreDataMigrationVersion& from,
                                             const CoreDataMigrationVersion& to)
    : sourceModel(model(from.rawValue())),
      destinationModel(model(to.rawValue())),
      mappingModel(mapping(*sourceModel, *destinationModel)) {
  // The word "modal" is part of the message that support staff search for.
  if (!mappingModel) {
    foundation::fatalError("Expected modal mapping not present", kReportedSource, kNoMappingLine);
  }
}

}  // namespace coredatastack
