#pragma once

#include <string_view>

#include "CoreData/Model/NSManagedObjectModel.h"

namespace coredatastack {

/// A new model of that version, `named` as `CoreDataMigrationVersion::rawValue` says, from the
/// model bundle: the optimised form if it is there, else the readable one. The bundle and its files
/// are looked up at each call. Stops the process when there is no such model: the program was built
/// without it.
[[nodiscard]] foundation::Ref<const coredata::NSManagedObjectModel> model(std::string_view named);

}  // namespace coredatastack
