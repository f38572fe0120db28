#pragma once

#include "UIKit/Internal/JPEGEncoder.h"

namespace uikit {

/// The longest side that the format can name (ITU-T T.81, B.2.2).
inline constexpr std::size_t kLongestJPEGSide = 0xFFFF;

/// A picture with a side longer than `longestPart`, which is what the format's library takes, but
/// not longer than `kLongestJPEGSide`, as a JPEG file. It is coded in up to four parts, and what a
/// decoder reads between two restart markers of a part is what it would read there of the whole.
///
/// Both sides at most twice `longestPart`, which is at least a unit and no odd number of them. None
/// when memory runs out. Takes the memory of the file twice.
[[nodiscard]] std::optional<std::vector<std::uint8_t>> jpegInTiles(
    const PixelWindow& picture, int quality, std::size_t longestPart = JPEG_MAX_DIMENSION);

}  // namespace uikit
