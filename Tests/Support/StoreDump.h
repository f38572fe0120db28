#pragma once

#include <string>

#include "CoreData/Context/NSManagedObjectContext.h"

namespace support {

/// Everything that the store holds, in the order of entities and keys: every stored attribute with
/// all its bits, and every relationship as the keys it leads to.
[[nodiscard]] std::string dumpOf(coredata::NSManagedObjectContext& context);

/// A context of a private queue over the store of that model, made when it is missing, with the
/// history on.
[[nodiscard]] foundation::Ref<coredata::NSManagedObjectContext> contextOver(
    const foundation::URL& store,
    const foundation::Ref<const coredata::NSManagedObjectModel>& model);

}  // namespace support
