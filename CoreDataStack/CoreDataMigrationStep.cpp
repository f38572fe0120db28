#include "CoreDataStack/CoreDataMigrationStep.h"

#include <cstdio>
#include <string>
#include <vector>

#include "CoreDataStack/NSManagedObjectModel+Migration.h"
#include "Foundation/Files/Bundle.h"
#include "Foundation/Values/Error.h"
#include "Foundation/Values/FatalError.h"

namespace coredatastack {

using coredata::NSManagedObjectModel;
using coredata::NSMappingModel;
using foundation::Ref;
using foundation::URL;

namespace {

// Crash reports are grouped by this position. It is not this file's and never changes.
constexpr std::string_view kStepSource = "CoreDataStack/CoreDataMigrationStep";
constexpr int kNoMappingLine = 17;

/// The text of the stop is fixed; the reason comes before it.
[[noreturn]] void stopWithoutMapping(const std::string& why) {
  std::fprintf(stderr, "%s\n", why.c_str());
  // The word "modal" is part of the message that support staff search for.
  foundation::fatalError("Expected modal mapping not present", kStepSource, kNoMappingLine);
}

Ref<const NSMappingModel> inferred(const NSManagedObjectModel& source,
                                   const NSManagedObjectModel& destination) {
  try {
    return NSMappingModel::inferredMappingModel(source, destination);
  } catch (const foundation::Error& error) {
    stopWithoutMapping(error.message());
  }
}

/// The main bundle's mapping models. A damaged one may be the one that is wanted: going on without
/// it would infer a mapping, which loses what the explicit one carries over.
std::vector<URL> readableMappings() {
  std::vector<URL> mappings = foundation::Bundle::main().urls("cdm");
  for (const URL& url : mappings) {
    std::string why;
    if (!NSMappingModel::contentsOf(url, &why)) stopWithoutMapping(why);
  }
  return mappings;
}

}  // namespace

CoreDataMigrationStep::CoreDataMigrationStep(const CoreDataMigrationVersion& from,
                                             const CoreDataMigrationVersion& to)
    : sourceModel(model(from.rawValue())),
      destinationModel(model(to.rawValue())),
      mappingModel(NSMappingModel::from(readableMappings(), *sourceModel, *destinationModel)),
      isInferred(!mappingModel) {
  if (isInferred) mappingModel = inferred(*sourceModel, *destinationModel);
}

}  // namespace coredatastack
