#include <gtest/gtest.h>

#include <png.h>

#include "Tests/Support/ErrorCode.h"
#include "Tests/UIKit/Samples.h"
#include "UIKit/ImageError.h"
#include "UIKit/UIImage.h"

namespace uikit {
namespace {

using samples::Bytes;
using samples::Colour;
using samples::colourAt;
using samples::errorOf;
using support::number;

UIImage read(const Bytes& file) {
  auto image = UIImage::fromData(file);
  if (!image) ADD_FAILURE() << image.error().description();
  return image.value_or(UIImage());
}

/// The file with other sides in its head, whose checksum fits again.
Bytes withSides(Bytes file, std::uint32_t width, std::uint32_t height) {
  const std::size_t head = 16;
  png_save_uint_32(&file[head], width);
  png_save_uint_32(&file[head + 4], height);
  std::uint32_t sum = 0xFFFFFFFF;
  for (std::size_t i = head - 4; i < head + 13; ++i) {
    sum ^= file[i];
    for (int bit = 0; bit < 8; ++bit) sum = sum >> 1 ^ ((sum & 1) != 0 ? 0xEDB88320 : 0);
  }
  png_save_uint_32(&file[head + 13], ~sum);
  return file;
}

UIImage translucent() {
  return samples::picture(31, 17, [](std::size_t x, std::size_t y) {
    return Colour{static_cast<int>(x * 8), static_cast<int>(y * 15), 90, static_cast<int>(x * 7)};
  });
}

TEST(PNGReading, GivesEveryPixelAsItWas) {
  const UIImage image = translucent();

  EXPECT_EQ(read(samples::png(image)), image);
}

TEST(PNGReading, TakesInterlacedPictures) {
  const UIImage image = translucent();

  EXPECT_EQ(read(samples::png(image, true)), image);
}

TEST(PNGReading, TakesColourWithoutOpacity) {
  const Bytes rows{255, 0, 0, 0, 255, 0};

  const UIImage image = read(samples::png(2, 1, rows, {.colourType = PNG_COLOR_TYPE_RGB}));

  EXPECT_EQ(colourAt(image, 0, 0), (Colour{255, 0, 0}));
  EXPECT_EQ(colourAt(image, 1, 0), (Colour{0, 255, 0}));
}

TEST(PNGReading, TakesSixteenBits) {
  const Bytes rows{0xFF, 0xFF, 0x80, 0x80, 0, 0, 0x40, 0x40};

  const UIImage image =
      read(samples::png(1, 1, rows, {.colourType = PNG_COLOR_TYPE_RGB_ALPHA, .depth = 16}));

  EXPECT_NEAR(colourAt(image, 0, 0).red, 0xFF, 1);
  EXPECT_NEAR(colourAt(image, 0, 0).green, 0x80, 1);
  EXPECT_EQ(colourAt(image, 0, 0).blue, 0);
  EXPECT_NEAR(colourAt(image, 0, 0).opacity, 0x40, 1);
}

TEST(PNGReading, TakesPalettesWithOpacities) {
  const Bytes rows{0b00'01'10'00};

  const UIImage image = read(samples::png(3, 1, rows,
                                          {.colourType = PNG_COLOR_TYPE_PALETTE,
                                           .depth = 2,
                                           .palette = {{1, 2, 3}, {4, 5, 6, 7}, {8, 9, 10, 0}}}));

  EXPECT_EQ(colourAt(image, 0, 0), (Colour{1, 2, 3}));
  EXPECT_EQ(colourAt(image, 1, 0), (Colour{4, 5, 6, 7}));
  EXPECT_EQ(colourAt(image, 2, 0).opacity, 0);
}

TEST(PNGReading, TakesGreyOfAnyDepth) {
  const auto shades = [](int depth, const Bytes& rows) {
    const UIImage image = read(samples::png(
        2, 1, rows, {.colourType = PNG_COLOR_TYPE_GRAY, .depth = depth, .isInterlaced = true}));
    return std::pair(colourAt(image, 0, 0), colourAt(image, 1, 0));
  };
  const std::pair expected(Colour{255, 255, 255}, Colour{0, 0, 0});

  EXPECT_EQ(shades(1, {0b10'000000}), expected);
  EXPECT_EQ(shades(2, {0b1100'0000}), expected);
  EXPECT_EQ(shades(4, {0xF0}), expected);
  EXPECT_EQ(shades(8, {255, 0}), expected);
  EXPECT_EQ(shades(16, {255, 255, 0, 0}), expected);
}

TEST(PNGReading, RefusesAPictureThatIsCutShort) {
  const Bytes whole = samples::png(translucent());
  // The chunk that ends the file tells nothing of the picture.
  for (std::size_t size = 8; size + 12 < whole.size(); ++size) {
    const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    EXPECT_EQ(errorOf(cut), number(ImageErrorCode::damaged)) << size << " of " << whole.size();
  }
}

TEST(PNGReading, RefusesDamageOrGivesThePicture) {
  const UIImage image = translucent();
  const Bytes whole = samples::png(image);
  for (std::size_t at = 8; at < whole.size(); ++at) {
    Bytes damaged = whole;
    damaged[at] ^= 0xFF;
    const auto got = UIImage::fromData(damaged);
    EXPECT_EQ(got.value_or(image), image) << at;
  }
}

TEST(PNGReading, RefusesASizeThatTheBytesCannotFill) {
  const Bytes small = samples::png(translucent());

  EXPECT_EQ(errorOf(withSides(small, 10000, 10000)), number(ImageErrorCode::damaged));
  EXPECT_EQ(errorOf(withSides(small, 0, 8)), number(ImageErrorCode::damaged));
}

TEST(PNGReading, RefusesMorePixelsThanAreTaken) {
  const Bytes small = samples::png(translucent());

  EXPECT_EQ(errorOf(withSides(small, 1'000'000, 1'000'000)), number(ImageErrorCode::tooLarge));
  EXPECT_EQ(errorOf(withSides(small, 0x7FFFFFFF, 0x7FFFFFFF)), number(ImageErrorCode::damaged));
}

}  // namespace
}  // namespace uikit
