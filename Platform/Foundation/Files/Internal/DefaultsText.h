#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Foundation/Values/Data.h"
#include "Foundation/Values/Value.h"

namespace foundation {

// settings := {key: value, ...}
// value    := JSON text | true | false | JSON integer | [value, ...]
//           | {"real": bits} | {"date": bits}  -- sixteen hexadecimal digits, the double's highest
//           first | {"data": hexadecimal} | {"dictionary": {key: value, ...}}
//
// Bits and not digits of the decimal number, so that no reader's rounding moves a date.

/// Settings as the text of their file. Throws `Error` for values that are not kept: none, objects,
/// identifiers, texts and keys that are not UTF-8, and nesting beyond 64 levels.
[[nodiscard]] Data defaultsText(const ValueDictionary& settings);

/// The settings in a text; none for one that `defaultsText` would not have made.
[[nodiscard]] std::optional<ValueDictionary> defaultsInText(const Data& text);

}  // namespace foundation
