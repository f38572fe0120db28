#include "UIKit/Internal/Orientation.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace uikit {

// segment   := "Exif" 0 0 directory
// directory := ("II" | "MM") 42:u16 offset:u32 ... count:u16 entry*     count stands at the offset
// entry     := tag:u16 kind:u16 count:u32 value:u32                     a short's value comes first
// Integers are little-endian after "II". Offsets count from the "II" or "MM".

namespace {

constexpr std::string_view kHead("Exif\0\0", 6);
constexpr std::uint32_t kTag = 0x0112;
constexpr std::uint32_t kShort = 3;
constexpr std::size_t kEntrySize = 12;

/// The directory's bytes; what lies outside of them reads as 0.
class Directory {
 public:
  explicit Directory(std::span<const std::uint8_t> bytes)
      : bytes_(bytes), isLittleEndian_(!bytes.empty() && bytes[0] == 'I') {}

  [[nodiscard]] std::uint32_t number(std::size_t at, std::size_t size) const {
    if (at > bytes_.size() || size > bytes_.size() - at) return 0;
    std::uint32_t result = 0;
    for (std::size_t i = 0; i < size; ++i) {
      result = result << 8 | bytes_[at + (isLittleEndian_ ? size - 1 - i : i)];
    }
    return result;
  }
  [[nodiscard]] std::uint32_t orientation() const {
    const std::size_t start = number(4, 4);
    const std::size_t count = number(start, 2);
    for (std::size_t i = 0; i < count; ++i) {
      const std::size_t entry = start + 2 + i * kEntrySize;
      if (number(entry, 2) == kTag && number(entry + 2, 2) == kShort) return number(entry + 8, 2);
    }
    return 0;
  }

 private:
  std::span<const std::uint8_t> bytes_;
  bool isLittleEndian_;
};

}  // namespace

std::optional<Orientation> exifOrientation(std::span<const std::uint8_t> segment) {
  if (segment.size() < kHead.size() ||
      std::memcmp(segment.data(), kHead.data(), kHead.size()) != 0) {
    return std::nullopt;
  }
  const std::uint32_t number = Directory(segment.subspan(kHead.size())).orientation();
  if (number < 1 || number > 8) return std::nullopt;
  return static_cast<Orientation>(number);
}

Picture upright(Picture picture, Orientation orientation) {
  using enum Orientation;
  if (orientation == Orientation::upright) return picture;
  const bool swapsSides = orientation >= transposed;
  const bool fromRight = orientation == mirrored || orientation == upsideDown ||
                         orientation == transverse || orientation == turnedRight;
  const bool fromBottom = orientation == upsideDown || orientation == mirroredAndDown ||
                          orientation == turnedLeft || orientation == transverse;
  Picture result{swapsSides ? picture.height : picture.width,
                 swapsSides ? picture.width : picture.height,
                 std::vector<std::uint8_t>(picture.pixels.size())};
  std::uint8_t* to = result.pixels.data();
  for (std::size_t y = 0; y < result.height; ++y) {
    for (std::size_t x = 0; x < result.width; ++x, to += kBytesPerPixel) {
      const std::size_t column = swapsSides ? y : x;
      const std::size_t row = swapsSides ? x : y;
      const std::size_t fromX = fromRight ? picture.width - 1 - column : column;
      const std::size_t fromY = fromBottom ? picture.height - 1 - row : row;
      std::memcpy(to, &picture.pixels[(fromY * picture.width + fromX) * kBytesPerPixel],
                  kBytesPerPixel);
    }
  }
  return result;
}

}  // namespace uikit
