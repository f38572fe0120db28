#include "UIKit/Internal/JPEG.h"
#include "UIKit/Internal/JPEGTiles.h"

namespace uikit {

std::optional<foundation::Data> encodedJPEG(std::size_t width, std::size_t height,
                                            std::span<const std::uint8_t> pixels, int quality) {
  if (width > kLongestJPEGSide || height > kLongestJPEGSide) return std::nullopt;
  const PixelWindow picture{width, height, width * kBytesPerPixel, pixels};
  const bool fits = width <= JPEG_MAX_DIMENSION && height <= JPEG_MAX_DIMENSION;
  auto file = fits ? JPEGEncoder().encode(picture, quality) : jpegInTiles(picture, quality);
  if (!file) return std::nullopt;
  return foundation::Data(*std::move(file));
}

}  // namespace uikit
