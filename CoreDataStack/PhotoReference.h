#pragma once

#include <optional>
#include <string>

#include "Foundation/Values/Data.h"

namespace coredatastack {

// How the name of a photo's file travels through the step from version 6 to version 7: as JSON in
// the attribute that takes the photo's bytes in the end.

/// `{"filename": ...}`. Throws the error of JSON for a name that is no UTF-8.
[[nodiscard]] foundation::Data photoReference(const std::string& filename);

/// The file name in such a text; none where the text says something else, as in any value beside
/// the name that is no text. Throws the error of JSON for what is none.
[[nodiscard]] std::optional<std::string> photoFileName(const foundation::Data& reference);

}  // namespace coredatastack
