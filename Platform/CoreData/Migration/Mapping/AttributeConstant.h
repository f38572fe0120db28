#pragma once

#include <optional>

#include "CoreData/Model/NSAttributeType.h"
#include "Foundation/Values/Value.h"

namespace coredata {

/// A number or a text that is written down for an attribute of that type, in the type's own kind of
/// number; none when the type does not hold it.
[[nodiscard]] std::optional<foundation::Value> constantOfType(const foundation::Value& constant,
                                                              NSAttributeType type);

}  // namespace coredata
