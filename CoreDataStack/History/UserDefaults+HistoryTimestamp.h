#pragma once

#include <optional>
#include <span>

#include "CoreDataStack/History/AppTarget.h"
#include "Foundation/Files/UserDefaults.h"
#include "Foundation/Values/Date.h"

namespace coredatastack {

// How far each target has merged the history of the store that they share: the stamp of the newest
// transaction it has seen, under "lastHistoryTransactionTimeStamp-" and the target's name.
//
// Threading: any thread.

/// None when the target has merged nothing yet, or what is kept under its key is no date.
[[nodiscard]] std::optional<foundation::Date> lastHistoryTransactionTimestamp(
    const foundation::UserDefaults& userDefaults, const AppTarget& forTarget);

/// None removes the key.
void updateLastHistoryTransactionTimestamp(foundation::UserDefaults& userDefaults,
                                           const AppTarget& forTarget,
                                           const std::optional<foundation::Date>& to);

/// The stamp up to which all of the targets have merged: the earliest of theirs, and none while any
/// of several has none. Stops the process over an empty list.
[[nodiscard]] std::optional<foundation::Date> lastCommonTransactionTimestamp(
    const foundation::UserDefaults& userDefaults, std::span<const AppTarget> in);

}  // namespace coredatastack
