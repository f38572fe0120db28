#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "CoreData/Model/NSEntityDescription.h"
#include "Foundation/Values/Error.h"

namespace coredata {

/// The codes, in the domain `kCocoaErrorDomain`, of values that a property cannot take.
enum class PropertyErrorCode : std::int64_t {
  wrongKind = 1550,   ///< a text for a number, an object of another entity, or the like
  outOfRange = 1551,  ///< a number that the attribute's kind cannot hold
};

/// `why` goes on where "<property> of <entity>" begins.
[[nodiscard]] inline foundation::Error propertyError(PropertyErrorCode code,
                                                     const NSPropertyDescription& property,
                                                     std::string_view why) {
  return foundation::Error(
      std::string(foundation::kCocoaErrorDomain), static_cast<std::int64_t>(code),
      "\"" + property.name() + "\" of " + property.entity()->name() + " " + std::string(why) + ".");
}

}  // namespace coredata
