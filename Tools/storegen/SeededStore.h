#pragma once

#include <string>

#include "CoreData/Model/NSManagedObjectModel.h"
#include "Foundation/Values/Ref.h"
#include "Foundation/Values/UUID.h"
#include "Tools/storegen/SeededContent.h"

namespace storegen {

/// The identifier of the stores of that seed.
[[nodiscard]] foundation::UUID seededIdentifier(std::uint64_t seed);

/// Makes a store of the model at `path`, where nothing may lie yet, with every entity, attribute
/// and relationship filled. Keys count from 1 in the order of positions. Each entity has lost its
/// newest object, so that there is a key that must never come back. The history records all of it
/// under the author "storegen". The file is closed when the call returns, and nobody has waited for
/// the disk: a machine that loses its power then may lose the store.
///
/// Throws `foundation::Error`; what was written by then stays.
void makeSeededStore(const std::string& path,
                     const foundation::Ref<const coredata::NSManagedObjectModel>& model,
                     const SeededContent& content);

}  // namespace storegen
