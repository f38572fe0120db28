#pragma once

#include <string>

#include "CoreData/Container/NSPersistentContainer.h"

namespace golden {

/// Fills a new store with one object or more of each entity: full ones, empty ones, both kinds of
/// check-ins, extreme numbers, texts in several scripts. The same on every run, as long as clock
/// and random source are fixed.
void fill(coredata::NSManagedObjectContext& context);

/// Opens the store of the current version at `path`, making it when it is missing.
[[nodiscard]] foundation::Ref<coredata::NSPersistentContainer> opened(const std::string& path);

}  // namespace golden
