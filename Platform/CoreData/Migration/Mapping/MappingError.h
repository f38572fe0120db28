#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "Foundation/Values/Error.h"

namespace coredata {

/// The codes, in the domain `kCocoaErrorDomain`, of making mapping models. Files that cannot be
/// read are reported as those of models are, with a `ModelErrorCode`.
enum class MappingErrorCode : std::int64_t {
  cannotInfer = 134210,           ///< two models that no mapping follows from; every reason is told
  unreadableExpression = 134211,  ///< a text that is no value expression
  invalidMapping = 134212,        ///< a mapping that does not fit its models
};

[[nodiscard]] inline foundation::Error mappingError(MappingErrorCode code, std::string message) {
  return foundation::Error(std::string(foundation::kCocoaErrorDomain),
                           static_cast<std::int64_t>(code), std::move(message));
}

}  // namespace coredata
