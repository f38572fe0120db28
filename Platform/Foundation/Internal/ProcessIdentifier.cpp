#include "Foundation/Internal/ProcessIdentifier.h"

#include <unistd.h>

namespace foundation {

std::int32_t processIdentifier() noexcept { return ::getpid(); }

}  // namespace foundation
