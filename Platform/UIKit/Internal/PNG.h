#pragma once

#include <cstdint>
#include <span>

#include "UIKit/Internal/Picture.h"

namespace uikit {

/// The picture of a PNG file of any kind: grey, palette or colour, up to 16 bits, interlaced or
/// not.
[[nodiscard]] DecodedPicture decodedPNG(std::span<const std::uint8_t> file);

}  // namespace uikit
