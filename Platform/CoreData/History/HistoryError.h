#pragma once

#include <cstdint>
#include <string>

#include "Foundation/Values/Error.h"

namespace coredata {

/// The codes, in the domain `kCocoaErrorDomain`, of history requests that cannot be run as they
/// are.
enum class HistoryErrorCode : std::int64_t {
  unknownKey = 134300,    ///< the predicate names something that a transaction does not have
  foreignToken = 134301,  ///< the token is a place in another store's history
};

[[nodiscard]] inline foundation::Error historyError(HistoryErrorCode code, std::string message) {
  return foundation::Error(std::string(foundation::kCocoaErrorDomain),
                           static_cast<std::int64_t>(code), std::move(message));
}

}  // namespace coredata
