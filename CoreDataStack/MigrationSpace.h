#pragma once

#include <cstdint>
#include <string>

#include "CoreDataStack/CoreDataMigrationStep.h"
#include "Foundation/Values/URL.h"

namespace coredatastack {

/// What the store's file and its log take on the disk, in bytes; 0 where there is none.
[[nodiscard]] std::uint64_t spaceOfStore(const foundation::URL& store);

/// What the temporary directory must have room for while the store is migrated by the step, which
/// may fold photos that lie in files into it.
[[nodiscard]] std::uint64_t spaceForStep(const foundation::URL& store,
                                         const CoreDataMigrationStep& step);

/// Throws `MigrationErrorCode::noSpace` when the directory has room for fewer bytes; `what` says to
/// what end they are needed.
void requireSpace(std::uint64_t needed, const foundation::URL& inDirectory,
                  const std::string& what);

/// Throws `MigrationErrorCode::noSpace`, naming what is needed and what is there, when the
/// temporary directory has not the room for the step. Better than to find out in its middle, when
/// the disk is full for every program.
void requireSpaceForStep(const foundation::URL& store, const CoreDataMigrationStep& step);

/// The same for the store's own directory, which takes the new content beside the old one.
void requireSpaceForReplacement(const foundation::URL& store, const foundation::URL& by);

}  // namespace coredatastack
