#pragma once

#include "CoreData/Rows/Row.h"

namespace coredata {

/// A row that can be written: `fresh` with those slots on top in which `changed` differs from
/// `base`, the row that the changes were made on. Key and version are those of `fresh`.
[[nodiscard]] foundation::Ref<Row> rowWithChanges(const Row& fresh, const Row& changed,
                                                  const Row& base);

}  // namespace coredata
