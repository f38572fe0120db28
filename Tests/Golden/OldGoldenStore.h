#pragma once

#include <filesystem>
#include <span>
#include <string>

#include "CoreDataStack/CoreDataMigrationVersion.h"

namespace golden {

/// The time at which golden stores were made, and at which they are migrated.
inline constexpr double kMoment = 731080800.123456;

/// The versions before the current one.
[[nodiscard]] std::span<const coredatastack::CoreDataMigrationVersion> oldVersions();

// The files of a version in the golden directory: the store, the text of what it holds, and the
// text of what the store of the newest version holds that it becomes.
[[nodiscard]] std::string storeName(const coredatastack::CoreDataMigrationVersion& version);
[[nodiscard]] std::string contentName(const coredatastack::CoreDataMigrationVersion& version);
[[nodiscard]] std::string migratedName(const coredatastack::CoreDataMigrationVersion& version);

/// What a copy of the store holds.
[[nodiscard]] std::string contentOf(const std::filesystem::path& store,
                                    const coredatastack::CoreDataMigrationVersion& version);

/// What a copy of the store holds once it was brought to the newest version, its photos' files
/// being there. Identifiers are left out: the migration draws them.
[[nodiscard]] std::string migratedContentOf(const std::filesystem::path& store,
                                            const coredatastack::CoreDataMigrationVersion& version);

}  // namespace golden
