#pragma once

#include <cstdint>
#include <string>

#include "Foundation/Values/Error.h"

namespace coredata {

/// The codes, in the domain `kCocoaErrorDomain`, of requests that cannot be run as they are.
enum class FetchErrorCode : std::int64_t {
  unknownEntity = 134060,  ///< the model has no entity of that name
  unknownKey = 134061,     ///< an entity has no stored property of that name
  unsuitableKey = 134062,  ///< the property exists, but not for this use
  kindMismatch = 134063,   ///< a text is compared with a number, or the like
  noStore = 134064,        ///< the coordinator has no store to ask
  tooDeep = 134065,        ///< a predicate with more levels than the store can take
};

[[nodiscard]] inline foundation::Error fetchError(FetchErrorCode code, std::string message) {
  return foundation::Error(std::string(foundation::kCocoaErrorDomain),
                           static_cast<std::int64_t>(code), std::move(message));
}

}  // namespace coredata
