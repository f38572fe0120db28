#include "UIKit/Internal/Picture.h"

#include <string>

#include "UIKit/ImageError.h"
#include "UIKit/UIImage.h"

namespace uikit {

namespace {

std::string sizeText(std::size_t width, std::size_t height) {
  return std::to_string(width) + " x " + std::to_string(height) + " pixels";
}

}  // namespace

DecodedPicture emptyPicture(std::size_t width, std::size_t height, std::size_t fileSize,
                            std::size_t pixelsPerByte) {
  // So small a claim is no burden, whoever makes it: tiny files of one colour are let through.
  constexpr std::size_t kFreeBytes = 4096;
  if (width == 0 || height == 0) {
    return std::unexpected(
        imageError(ImageErrorCode::damaged, "The image says that it has no pixels."));
  }
  if (height > UIImage::kMaximumPixels / width) {
    return std::unexpected(imageError(
        ImageErrorCode::tooLarge,
        "An image of " + sizeText(width, height) + " is larger than this library takes."));
  }
  if (width * height / pixelsPerByte > fileSize + kFreeBytes) {
    return std::unexpected(imageError(
        ImageErrorCode::damaged, std::to_string(fileSize) + " bytes cannot hold the image of " +
                                     sizeText(width, height) + " that they announce."));
  }
  return Picture{width, height, std::vector<std::uint8_t>(width * height * kBytesPerPixel)};
}

}  // namespace uikit
