#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "Foundation/Values/Data.h"
#include "UIKit/Internal/Picture.h"

namespace uikit {

/// The picture of a JPEG file: baseline or progressive; grey, colour or printer's colours.
[[nodiscard]] DecodedPicture decodedJPEG(std::span<const std::uint8_t> file);

/// Both sides above 0, `pixels` as in `UIImage`; `quality` from 0 to 100, of which 100 keeps the
/// colours' resolution. None for a side that the format cannot name (above 65,535) and when memory
/// runs out.
[[nodiscard]] std::optional<foundation::Data> encodedJPEG(std::size_t width, std::size_t height,
                                                          std::span<const std::uint8_t> pixels,
                                                          int quality);

}  // namespace uikit
