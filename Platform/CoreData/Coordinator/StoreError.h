#pragma once

#include <cstdint>
#include <string>

#include "Foundation/Values/Error.h"

namespace coredata {

/// The codes, in the domain `kCocoaErrorDomain`, of adding, removing and using stores.
enum class CoordinatorErrorCode : std::int64_t {
  invalidType = 134000,           ///< a store type other than SQLite
  unknownConfiguration = 134010,  ///< the model has no configuration of that name
  foreignStore = 134020,          ///< a store that this coordinator did not add
  alreadyHasStore = 134030,       ///< another store already holds the entities
  noStore = 134040,               ///< there is no store to read from or write to
};

[[nodiscard]] inline foundation::Error coordinatorError(CoordinatorErrorCode code,
                                                        std::string message) {
  return foundation::Error(std::string(foundation::kCocoaErrorDomain),
                           static_cast<std::int64_t>(code), std::move(message));
}

}  // namespace coredata
