#pragma once

#include <string>
#include <string_view>

#include "CoreDataStack/CoreDataMigrationVersion.h"

namespace fuzz {

/// With which every database begins.
inline constexpr std::string_view kDatabaseBegins = "SQLite format 3";

/// A small whole store of the version with every entity, as a file: the same bytes in every run.
/// The files of photos, in a version that has them, are written into `container`.
[[nodiscard]] std::string seedStore(const coredatastack::CoreDataMigrationVersion& version,
                                    const std::string& container = {});

}  // namespace fuzz
