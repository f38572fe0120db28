#pragma once

#include <optional>
#include <string>

#include "CoreDataStack/CoreDataMigrationVersion.h"
#include "Foundation/Values/URL.h"

namespace habits {

/// The version of a store that is older than the newest. None for any other file, and where there
/// is none: opening it tells. Changes nothing.
[[nodiscard]] std::optional<coredatastack::CoreDataMigrationVersion> olderVersion(
    const foundation::URL& store);

/// Brings the store to the newest version and shows how far that is; leaves it as it was when it
/// throws. Throws `Refusal` when the user stops it, otherwise `std::runtime_error` with what
/// happened and what to do.
void bringForward(const foundation::URL& store, const std::string& path);

/// Does so if the store is old and the user consents: beforehand, or when asked in a terminal.
/// Without consent it throws and does nothing to the store: `Refusal` when the user was asked,
/// `std::runtime_error` where nobody could be.
void bringForwardWithConsent(const std::string& path, bool isConsentedTo);

}  // namespace habits
