#pragma once

#include <optional>

#include "CoreData/Coordinator/NSPersistentStoreCoordinator.h"
#include "Foundation/Values/URL.h"
#include "Foundation/Values/Value.h"

namespace coredatastack {

// What a migration does with store files. Where it stops the process, there is nothing that a
// program could do: it has no way back from a store that can neither be put in place nor removed.

/// The metadata of the store at the URL; none where nothing can be read.
[[nodiscard]] std::optional<foundation::ValueDictionary> storeMetadata(const foundation::URL& at);

/// Adds the store at the URL, stopping the process when that fails.
foundation::Ref<coredata::NSPersistentStore> addSQLiteStore(
    coredata::NSPersistentStoreCoordinator& coordinator, const foundation::URL& at,
    const foundation::ValueDictionary& options);

/// Removes the store at the URL with all that lies beside it, stopping the process when that fails.
void destroyStore(const foundation::URL& at);

/// Gives the store at the URL the content of another, stopping the process when that fails. When
/// somebody wrote to it after it was read, that is no fault of the build: the error,
/// `StoreErrorCode::changedMeanwhile`, is thrown and the store is as they left it.
void replaceStore(const foundation::URL& at, const foundation::URL& withStoreAt);

}  // namespace coredatastack
