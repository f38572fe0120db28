#pragma once

#include "CoreData/Context/NSManagedObjectContext.h"
#include "CoreData/History/NSPersistentHistoryTransaction.h"

namespace habits {

/// The newest transaction of the open store's history, without its changes; null when there is
/// none. Throws the store's `foundation::Error`. In the context's turn.
[[nodiscard]] foundation::Ref<coredata::NSPersistentHistoryTransaction> newestTransaction(
    coredata::NSManagedObjectContext& context);

}  // namespace habits
