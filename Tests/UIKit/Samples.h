#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "UIKit/UIImage.h"

namespace samples {

using Bytes = std::vector<std::uint8_t>;

struct Colour {
  int red = 0;
  int green = 0;
  int blue = 0;
  int opacity = 255;

  friend bool operator==(const Colour&, const Colour&) = default;
};

/// A picture whose every pixel is what `at` says of its column and row.
[[nodiscard]] uikit::UIImage picture(std::size_t width, std::size_t height,
                                     const std::function<Colour(std::size_t, std::size_t)>& at);
/// Soft changes from corner to corner, as a photo has them.
[[nodiscard]] uikit::UIImage gradient(std::size_t width, std::size_t height);

[[nodiscard]] Colour colourAt(const uikit::UIImage& image, std::size_t x, std::size_t y);
/// The largest difference of any colour or opacity between pictures of one size.
[[nodiscard]] int largestDifference(const uikit::UIImage& a, const uikit::UIImage& b);

/// The code of the error with which a file is refused; 0 when it is read.
[[nodiscard]] std::int64_t errorOf(const Bytes& file);

struct JPEGKind {
  enum class Colours { grey, colour, print };
  Colours colours = Colours::colour;
  bool isProgressive = false;
  bool isArithmetic = false;
  /// Whether the writer leaves its mark, and so inverts printer's colours.
  bool isMarked = true;
  /// What stands in the segment for cameras, if anything.
  Bytes camera{};
};
/// Samples of one, three or four bytes a pixel as a JPEG file of the best quality.
[[nodiscard]] Bytes jpeg(std::size_t width, std::size_t height, std::span<const std::uint8_t> rows,
                         const JPEGKind& kind);
/// The picture's colours as a JPEG file.
[[nodiscard]] Bytes jpeg(const uikit::UIImage& image, const JPEGKind& kind = {});

struct PNGKind {
  /// As the format numbers them: 0 grey, 2 colour, 3 palette, 4 grey with opacity, 6 colour with
  /// it.
  int colourType = 6;
  int depth = 8;
  bool isInterlaced = false;
  std::vector<Colour> palette{};
};
/// Rows of samples as the format packs them, as a PNG file.
[[nodiscard]] Bytes png(std::size_t width, std::size_t height, std::span<const std::uint8_t> rows,
                        const PNGKind& kind);
[[nodiscard]] Bytes png(const uikit::UIImage& image, bool isInterlaced = false);

}  // namespace samples
