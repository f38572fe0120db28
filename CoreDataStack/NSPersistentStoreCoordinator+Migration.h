#pragma once

#include <optional>

#include "Foundation/Values/URL.h"
#include "Foundation/Values/Value.h"

namespace coredatastack {

/// The metadata of the store at the URL; none where nothing can be read.
[[nodiscard]] std::optional<foundation::ValueDictionary> storeMetadata(const foundation::URL& at);

}  // namespace coredatastack
