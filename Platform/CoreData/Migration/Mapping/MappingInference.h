#pragma once

#include "CoreData/Migration/Mapping/EntityPairs.h"
#include "CoreData/Migration/Mapping/MappingContent.h"
#include "CoreData/Model/NSManagedObjectModel.h"

namespace coredata {

/// The mapping that follows from two models alone. Throws an `Error` of code
/// `MappingErrorCode::cannotInfer` that lists every reason.
[[nodiscard]] MappingContent inferredContent(const NSManagedObjectModel& source,
                                             const NSManagedObjectModel& destination);

/// Throws the reasons as one `Error` of code `MappingErrorCode::cannotInfer` when there are any.
void throwReasons(const InferenceReasons& reasons, const MappingContent& mapping);

/// What a finished mapping of the pair is, judged by its policy, its entities and its expressions.
[[nodiscard]] NSEntityMappingType mappingType(const EntityMappingContent& mapping,
                                              const EntityPair& pair);

/// A mapping between two models that maps nothing yet.
[[nodiscard]] MappingContent emptyContent(const NSManagedObjectModel& source,
                                          const NSManagedObjectModel& destination);

}  // namespace coredata
