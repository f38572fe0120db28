#include "CoreData/Migration/Mapping/Compiled/CompiledMapping.h"
#include "CoreData/Migration/Mapping/MappingChecks.h"
#include "CoreData/Migration/Mapping/NSMappingModel.h"
#include "Foundation/Values/Error.h"

namespace coredata {
namespace {

using foundation::Error;
using foundation::Ref;
using foundation::URL;

bool isBetween(const MappingContent& content, const NSManagedObjectModel& source,
               const NSManagedObjectModel& destination) {
  return content.sourceFingerprint == source.fingerprint() &&
         content.destinationFingerprint == destination.fingerprint();
}

}  // namespace

Ref<const NSMappingModel> NSMappingModel::contentsOf(const URL& url, std::string* why) {
  try {
    return foundation::make<NSMappingModel>(readCompiledMapping(url));
  } catch (const Error& error) {
    if (why != nullptr) *why = error.message();
    return nullptr;
  }
}

Ref<const NSMappingModel> NSMappingModel::from(std::span<const URL> files,
                                               const NSManagedObjectModel& forSourceModel,
                                               const NSManagedObjectModel& destinationModel) {
  for (const auto& file : files) {
    try {
      auto content = readCompiledMapping(file);
      if (!isBetween(content, forSourceModel, destinationModel)) continue;
      checkMapping(content, forSourceModel, destinationModel);
      return foundation::make<NSMappingModel>(std::move(content));
    } catch (const Error&) {
      continue;  // What cannot be read maps nothing; another file may.
    }
  }
  return nullptr;
}

}  // namespace coredata
