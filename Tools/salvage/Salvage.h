#pragma once

#include "Foundation/Values/URL.h"
#include "Tools/salvage/SalvageReport.h"

namespace salvage {

/// Makes a new store of what can be read of a damaged one, of the same version. The damaged store
/// is read as bytes: nothing of it is changed, locked or made.
///
/// - Rows are found page by page, so one that cannot be read costs no other.
/// - Rows keep their keys, and relationships that lead nowhere are cleared: the new store is sound.
/// - Its history has yet to begin; what is recorded in it comes behind what the old one recorded.
/// - `to` is made at once, whole, when nothing is there. A directory beside it holds everything
///   until then, and is all that a death leaves.
///
/// Throws `foundation::Error`, and leaves nothing: `StoreErrorCode::exists` for something at `to`
/// or that would belong to a store there, and where the new file would belong to another store,
/// `notAStore` for a file with nothing of a store in it, `newerVersion`, and what reading the one
/// file and writing the other fails with.
///
/// Its process must not have the damaged store open.
[[nodiscard]] SalvageReport salvageStore(const foundation::URL& damaged, const foundation::URL& to);

}  // namespace salvage
