#pragma once

#include "CoreData/Migration/Mapping/MappingContent.h"
#include "CoreData/Model/NSManagedObjectModel.h"

namespace coredata {

/// Finds the first thing by which a mapping contradicts itself, whatever its models are: names that
/// are no names, that are there twice or out of order, a type that its entities rule out.
/// Throws an `Error` of code `MappingErrorCode::invalidMapping` that names the entity mapping.
void checkForm(const MappingContent& content);

/// Holds a mapping against its models: every name in it is known, every value fits what it is for,
/// what is mandatory has one, and no entity of the source is forgotten. Throws as `checkForm` does,
/// which it includes.
void checkMapping(const MappingContent& content, const NSManagedObjectModel& source,
                  const NSManagedObjectModel& destination);

}  // namespace coredata
