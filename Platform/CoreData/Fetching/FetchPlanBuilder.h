#pragma once

#include "CoreData/Fetching/FetchPlan.h"
#include "CoreData/Fetching/NSFetchRequest.h"

namespace coredata {

/// Resolves a request against its entity. Throws `foundation::Error` naming the entity and the key
/// for what the model does not have, for a sort through a to-many, and for a dictionary sort that
/// is neither grouped nor computed.
[[nodiscard]] foundation::Ref<const FetchPlan> buildPlan(const NSFetchRequestBase& request,
                                                         const NSEntityDescription& entity);

}  // namespace coredata
