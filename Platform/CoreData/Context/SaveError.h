#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "Foundation/Values/Error.h"

namespace coredata {

/// The codes, in the domain `kCocoaErrorDomain`, of saves that are refused. In each case the store
/// is unchanged and the context still holds its changes.
enum class SaveErrorCode : std::int64_t {
  missingMandatoryProperty = 1570,  ///< a property that is not optional is absent
  deletionDenied = 1600,            ///< a relationship with the deny rule still leads somewhere
  conflict = 133020,                ///< somebody else changed or deleted what is to be written
  severalErrors = 1560,             ///< more than one of these; the user info lists them
};

/// The user-info key under which `severalErrors` lists its errors' texts.
inline constexpr std::string_view NSDetailedErrorsKey = "NSDetailedErrors";

[[nodiscard]] inline foundation::Error saveError(SaveErrorCode code, std::string message,
                                                 foundation::ValueDictionary userInfo = {}) {
  return foundation::Error(std::string(foundation::kCocoaErrorDomain),
                           static_cast<std::int64_t>(code), std::move(message),
                           std::move(userInfo));
}

/// A property that is not optional is absent. `object` is the object's description.
[[nodiscard]] foundation::Error missingValueError(std::string_view property,
                                                  std::string_view object);

/// Throws the only error itself, and several as one, `SaveErrorCode::severalErrors`. There is at
/// least one.
[[noreturn]] void throwSaveErrors(const std::vector<foundation::Error>& errors);

}  // namespace coredata
