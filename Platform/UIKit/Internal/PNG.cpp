#include "UIKit/Internal/PNG.h"

#include <png.h>

#include <string>

#include "UIKit/ImageError.h"

namespace uikit {

namespace {

/// One bit a pixel, and no byte of a deflated stream stands for more than 1,032.
constexpr std::size_t kPixelsPerDeflatedByte = std::size_t{8} * 1032;

/// The library's reader for whole images: it jumps out of its own frames only.
class Reader {
 public:
  Reader() noexcept { image_.version = PNG_IMAGE_VERSION; }
  ~Reader() { png_image_free(&image_); }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  png_image& image() noexcept { return image_; }
  [[nodiscard]] foundation::Error error() const {
    return imageError(ImageErrorCode::damaged,
                      "The PNG image is damaged: " + std::string(image_.message) + ".");
  }

 private:
  png_image image_{};
};

}  // namespace

DecodedPicture decodedPNG(std::span<const std::uint8_t> file) {
  Reader reader;
  png_image& image = reader.image();
  if (png_image_begin_read_from_memory(&image, file.data(), file.size()) == 0) {
    return std::unexpected(reader.error());
  }
  image.format = PNG_FORMAT_RGBA;
  // Else 16 bits would count as linear light, which programs that write them do not mean.
  image.flags |= PNG_IMAGE_FLAG_16BIT_sRGB;
  auto picture = emptyPicture(image.width, image.height, file.size(), kPixelsPerDeflatedByte);
  if (!picture) return picture;
  if (png_image_finish_read(&image, nullptr, picture->pixels.data(), 0, nullptr) == 0) {
    return std::unexpected(reader.error());
  }
  return picture;
}

}  // namespace uikit
