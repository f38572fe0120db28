#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Foundation/Values/Value.h"

namespace coredata {

/// A metadata value as the text that the store keeps.
//
// text       := JSON string          number := JSON number or boolean          absent := null
// list       := [value, ...]         dictionary := {"dictionary": {key: value, ...}}
// date       := {"date": seconds since the reference date}
// data       := {"data": hexadecimal}
// identifier := {"uuid": the 36 characters}
// A real number always has a point or an exponent, so that it comes back as one.

/// Throws `StoreErrorCode::invalidMetadata` for objects, numbers that are not finite, texts that
/// are not UTF-8, and nesting beyond 32 levels.
[[nodiscard]] std::string metadataText(const foundation::Value& value);

/// None for a text that `metadataText` would not have made.
[[nodiscard]] std::optional<foundation::Value> metadataValue(std::string_view text);

}  // namespace coredata
