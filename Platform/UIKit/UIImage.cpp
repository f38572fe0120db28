#include "UIKit/UIImage.h"

#include <fcntl.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <utility>

#include "Foundation/Internal/FileSystem.h"
#include "UIKit/ImageError.h"
#include "UIKit/Internal/JPEG.h"
#include "UIKit/Internal/PNG.h"

namespace uikit {

using foundation::Data;
using foundation::Error;

namespace {

constexpr std::array<std::uint8_t, 3> kJPEGHead{0xFF, 0xD8, 0xFF};
constexpr std::array<std::uint8_t, 8> kPNGHead{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

bool beginsWith(std::span<const std::uint8_t> bytes, std::span<const std::uint8_t> head) {
  return bytes.size() >= head.size() && std::ranges::equal(bytes.first(head.size()), head);
}

DecodedPicture decoded(std::span<const std::uint8_t> bytes) {
  if (beginsWith(bytes, kJPEGHead)) return decodedJPEG(bytes);
  if (beginsWith(bytes, kPNGHead)) return decodedPNG(bytes);
  return std::unexpected(
      imageError(ImageErrorCode::unknownFormat, "This is neither a JPEG nor a PNG image."));
}

}  // namespace

std::optional<UIImage> UIImage::fromPixels(std::size_t width, std::size_t height, Data pixels) {
  if (width != 0 && height > kMaximumPixels / width) return std::nullopt;
  if (pixels.size() != width * height * kBytesPerPixel) return std::nullopt;
  return UIImage(width, height, std::move(pixels));
}

std::expected<UIImage, Error> UIImage::fromData(std::span<const std::uint8_t> bytes) {
  auto picture = decoded(bytes);
  if (!picture) return std::unexpected(std::move(picture).error());
  return UIImage(picture->width, picture->height, Data(std::move(picture->pixels)));
}

std::expected<UIImage, Error> UIImage::contentsOfFile(const std::string& path) {
  const auto bytes = foundation::readFile(AT_FDCWD, path.c_str(), kMaximumFileSize);
  if (bytes) return fromData(*bytes);
  return std::unexpected(
      Error(std::string(foundation::kPosixErrorDomain), bytes.error(),
            "The image \"" + path + "\" cannot be read: " + std::strerror(bytes.error()) + "."));
}

std::optional<Data> UIImage::jpegData(double compressionQuality) const {
  if (pixels_.empty()) return std::nullopt;
  // What is no number counts as the highest quality: nothing must be lost by it.
  if (!(compressionQuality < 1.0)) return encodedJPEG(width_, height_, pixels_.bytes(), 100);
  const int quality = static_cast<int>(std::lround(std::max(compressionQuality, 0.0) * 100));
  return encodedJPEG(width_, height_, pixels_.bytes(), std::min(quality, 99));
}

}  // namespace uikit
