#pragma once

#include <cstddef>
#include <cstdint>
#include <expected>
#include <vector>

#include "Foundation/Values/Error.h"

namespace uikit {

inline constexpr std::size_t kBytesPerPixel = 4;

/// A picture that is being made, in the layout of `UIImage`.
struct Picture {
  std::size_t width = 0;
  std::size_t height = 0;
  std::vector<std::uint8_t> pixels;
};

using DecodedPicture = std::expected<Picture, foundation::Error>;

/// A picture of that size without content yet. A file of `fileSize` bytes may claim a size that it
/// cannot fill: an error, before any memory is taken, if that is beyond what is taken at all, or
/// beyond what a format can put into the bytes at its very best, `pixelsPerByte`.
[[nodiscard]] DecodedPicture emptyPicture(std::size_t width, std::size_t height,
                                          std::size_t fileSize, std::size_t pixelsPerByte);

}  // namespace uikit
