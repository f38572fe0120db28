#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "UIKit/Internal/Picture.h"

namespace uikit {

/// How a camera was held: where the stored picture's first row and first column belong. The numbers
/// are those that cameras store.
enum class Orientation : std::uint8_t {
  upright = 1,          ///< top, left
  mirrored = 2,         ///< top, right
  upsideDown = 3,       ///< bottom, right
  mirroredAndDown = 4,  ///< bottom, left
  transposed = 5,       ///< left, top
  turnedLeft = 6,       ///< right, top: shown right, it is turned clockwise
  transverse = 7,       ///< right, bottom
  turnedRight = 8,      ///< left, bottom
};

/// The orientation in a JPEG file's APP1 segment; none when the segment is another one, tells
/// nothing of it, or is damaged.
[[nodiscard]] std::optional<Orientation> exifOrientation(std::span<const std::uint8_t> segment);

/// The picture the way it was seen.
[[nodiscard]] Picture upright(Picture picture, Orientation orientation);

}  // namespace uikit
