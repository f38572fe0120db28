#pragma once

#include <optional>
#include <string>

#include "CoreDataStack/CoreDataMigrationVersion.h"
#include "CoreDataStack/Stack/CoreDataStack.h"
#include "Foundation/Values/URL.h"

namespace habits {

/// The version of a store that is older than the newest. None for any other file, and where there
/// is none: opening it tells. Changes nothing.
[[nodiscard]] std::optional<coredatastack::CoreDataMigrationVersion> olderVersion(
    const foundation::URL& store);

/// Throws what opening the file would for one that is no store of the newest version. Changes
/// nothing.
void requireNewest(const foundation::URL& store);

/// Opens the stack's store, brought to the newest version, and shows how far that is; leaves it as
/// it was when it throws. Throws `Refusal` when the user stops it, otherwise `std::runtime_error`
/// with what happened and what to do.
void bringForward(coredatastack::CoreDataStack& stack, const std::string& path);

/// Does so if the user consents: beforehand, or when asked in a terminal. Without consent it throws
/// and does nothing to the store: `Refusal` when the user was asked, `std::runtime_error` where
/// nobody could be. Throws what opening says of a store of no version that is known.
void bringForwardWithConsent(coredatastack::CoreDataStack& stack, const std::string& path,
                             bool isConsentedTo);

}  // namespace habits
