#pragma once

#include <cstdint>
#include <string>

#include "Foundation/Values/Error.h"

namespace coredata {

/// The codes, in the domain `kCocoaErrorDomain`, of migrating a store.
enum class MigrationErrorCode : std::int64_t {
  unknownPolicy = 134200,      ///< a mapping names a class of policies that was not registered
  unknownFunction = 134201,    ///< a value expression calls what its target does not have
  wrongModels = 134202,        ///< the mapping was made for other models
  destinationExists = 134203,  ///< something lies where the new store is to be written
  cancelled = 134204,          ///< somebody asked for the migration to stop
  noSpace = 134205,            ///< the disk has no room for the next step
};

[[nodiscard]] inline foundation::Error migrationError(MigrationErrorCode code,
                                                      std::string message) {
  return foundation::Error(std::string(foundation::kCocoaErrorDomain),
                           static_cast<std::int64_t>(code), std::move(message));
}

}  // namespace coredata
