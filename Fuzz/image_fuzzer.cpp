#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "UIKit/UIImage.h"

namespace {

constexpr std::size_t kLongestInput = std::size_t{64} * 1024;
/// Larger pictures are read by the same code, only for longer.
constexpr std::size_t kMostPixelsToWrite = std::size_t{256} * 256;

}  // namespace

/// Whatever is taken for a picture has all its pixels, and comes back from the form that is stored.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > kLongestInput) return 0;
  const auto image = uikit::UIImage::fromData(std::span(data, size));
  if (!image) return 0;
  const std::size_t pixels = image->width() * image->height();
  if (pixels == 0 || image->pixels().size() != pixels * 4) std::abort();
  if (pixels > kMostPixelsToWrite) return 0;
  const auto written = image->jpegData(1.0);
  if (!written) return 0;
  const auto read = uikit::UIImage::fromData(written->bytes());
  if (!read || read->width() != image->width() || read->height() != image->height()) std::abort();
  return 0;
}
