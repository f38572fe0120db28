#pragma once

#include "CoreData/Model/NSEntityDescription.h"
#include "CoreData/SQLite/StoreInspection.h"
#include "Tools/storecheck/Findings.h"

namespace storecheck {

/// Where the slots of a row begin, behind its key and its version.
inline constexpr std::size_t kFirstSlot = 2;

/// The key of a row as `StoreInspection::visitRows` gives it; where it is no number, 0.
[[nodiscard]] std::int64_t keyOf(coredata::StoredRow row) noexcept;

/// Whether a value that is there is one that the slot's property can have: of its kind and range, a
/// text in UTF-8, a key for a relationship.
[[nodiscard]] bool isOfKind(const coredata::StoredValue& value, const coredata::Slot& slot);

/// Looks at one row by itself: its key and version, whether its values are of the kinds that the
/// model says, and whether those are there that must be.
void checkValues(const coredata::NSEntityDescription& entity, coredata::StoredRow row,
                 Findings& findings);

}  // namespace storecheck
