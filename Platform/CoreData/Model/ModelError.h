#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "Foundation/Values/Error.h"

namespace coredata {

/// The codes, in the domain `kCocoaErrorDomain`, of making and reading models, and of
/// reading the files that go with them.
enum class ModelErrorCode : std::int64_t {
  unreadableSource = 134200,  ///< a source that is not JSON, or not JSON of the expected form
  invalidModel = 134201,      ///< a model that contradicts itself or that no store can hold
  damaged = 134202,           ///< a compiled file whose bytes are not those that the compiler wrote
  newerFormat = 134203,       ///< a compiled file in a form that a later compiler writes
  unreadableFile = 134204,    ///< a file that is missing, too long or not to be read or written
};

[[nodiscard]] inline foundation::Error modelError(ModelErrorCode code, std::string message) {
  return foundation::Error(std::string(foundation::kCocoaErrorDomain),
                           static_cast<std::int64_t>(code), std::move(message));
}

}  // namespace coredata
