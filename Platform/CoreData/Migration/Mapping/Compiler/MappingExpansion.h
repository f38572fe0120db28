#pragma once

#include "CoreData/Migration/Mapping/MappingContent.h"
#include "CoreData/Migration/Mapping/MappingSource.h"
#include "CoreData/Model/NSManagedObjectModel.h"

namespace coredata {

/// The mapping that a source describes: what it leaves to be inferred is inferred, and everything
/// is checked against both models. Throws an `Error` of code `MappingErrorCode::invalidMapping` or,
/// for what cannot be inferred, `cannotInfer`.
[[nodiscard]] MappingContent expanded(const MappingSource& mapping,
                                      const NSManagedObjectModel& source,
                                      const NSManagedObjectModel& destination);

}  // namespace coredata
