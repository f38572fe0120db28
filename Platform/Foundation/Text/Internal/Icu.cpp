#include "Foundation/Text/Internal/Icu.h"

#include <string>

#include "Foundation/Values/FatalError.h"

namespace foundation {

void requireIcu(UErrorCode status) noexcept {
  if (U_FAILURE(status)) fatalError(std::string("ICU cannot be used: ") + u_errorName(status));
}

}  // namespace foundation
