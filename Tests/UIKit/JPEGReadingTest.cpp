#include <gtest/gtest.h>

#include <algorithm>

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
using samples::JPEGKind;
using samples::largestDifference;
using support::number;

/// The place behind the head of the first segment of that kind.
std::size_t segment(const Bytes& file, std::uint8_t marker) {
  for (std::size_t at = 2; at + 4 < file.size();) {
    if (file[at + 1] == marker) return at + 4;
    at += 2 + (std::size_t{file[at + 2]} << 8 | file[at + 3]);
  }
  ADD_FAILURE() << "no such segment";
  return 0;
}

/// The file with other sides in its frame.
Bytes claiming(Bytes file, std::size_t width, std::size_t height, std::uint8_t frame = 0xC0) {
  const std::size_t at = segment(file, frame);
  file[at + 1] = static_cast<std::uint8_t>(height >> 8);
  file[at + 2] = static_cast<std::uint8_t>(height);
  file[at + 3] = static_cast<std::uint8_t>(width >> 8);
  file[at + 4] = static_cast<std::uint8_t>(width);
  return file;
}

TEST(JPEGReading, GivesThePicture) {
  const UIImage image = samples::gradient(67, 33);

  const auto read = UIImage::fromData(samples::jpeg(image));

  ASSERT_TRUE(read.has_value()) << read.error().description();
  EXPECT_EQ(read->width(), 67U);
  EXPECT_EQ(read->height(), 33U);
  EXPECT_LE(largestDifference(*read, image), 8);
}

TEST(JPEGReading, TakesScansThatRefineThePicture) {
  const UIImage image = samples::gradient(67, 33);

  const auto read = UIImage::fromData(samples::jpeg(image, {.isProgressive = true}));

  ASSERT_TRUE(read.has_value()) << read.error().description();
  EXPECT_EQ(*read, UIImage::fromData(samples::jpeg(image)).value());
}

TEST(JPEGReading, TakesArithmeticCoding) {
  const UIImage image = samples::gradient(67, 33);

  const auto read = UIImage::fromData(samples::jpeg(image, {.isArithmetic = true}));

  ASSERT_TRUE(read.has_value()) << read.error().description();
  EXPECT_EQ(*read, UIImage::fromData(samples::jpeg(image)).value());
}

TEST(JPEGReading, TakesGrey) {
  const Bytes rows{0, 100, 200, 255};

  const auto read =
      UIImage::fromData(samples::jpeg(4, 1, rows, {.colours = JPEGKind::Colours::grey}));

  ASSERT_TRUE(read.has_value()) << read.error().description();
  for (std::size_t x = 0; x < rows.size(); ++x) {
    const Colour colour = colourAt(*read, x, 0);
    EXPECT_NEAR(colour.red, rows[x], 2);
    EXPECT_EQ(colour, (Colour{colour.red, colour.red, colour.red, 255}));
  }
}

TEST(JPEGReading, TakesPrintersColoursOfBothSigns) {
  Bytes ink;
  for (int i = 0; i < 64; ++i) ink.insert(ink.end(), {0, 255, 255, 0});
  Bytes inverted;
  for (const std::uint8_t part : ink) inverted.push_back(static_cast<std::uint8_t>(255 - part));

  const auto plain = UIImage::fromData(
      samples::jpeg(8, 8, ink, {.colours = JPEGKind::Colours::print, .isMarked = false}));
  const auto marked =
      UIImage::fromData(samples::jpeg(8, 8, inverted, {.colours = JPEGKind::Colours::print}));

  ASSERT_TRUE(plain.has_value()) << plain.error().description();
  ASSERT_TRUE(marked.has_value()) << marked.error().description();
  EXPECT_EQ(colourAt(*plain, 3, 3), (Colour{255, 0, 0}));
  EXPECT_EQ(*marked, *plain);
}

TEST(JPEGReading, MakesPrintersBlackBlack) {
  Bytes black;
  for (int i = 0; i < 64; ++i) black.insert(black.end(), {0, 0, 0, 255});

  const auto read = UIImage::fromData(
      samples::jpeg(8, 8, black, {.colours = JPEGKind::Colours::print, .isMarked = false}));

  EXPECT_EQ(colourAt(read.value(), 0, 0), (Colour{0, 0, 0}));
}

TEST(JPEGReading, RefusesAPictureThatIsCutShortAnywhere) {
  for (const bool isProgressive : {false, true}) {
    const Bytes whole = samples::jpeg(samples::gradient(40, 40), {.isProgressive = isProgressive});
    // Without its last two bytes a picture is complete and merely does not say so.
    for (std::size_t size = 3; size + 2 < whole.size(); ++size) {
      const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
      EXPECT_EQ(errorOf(cut), number(ImageErrorCode::damaged)) << size << " of " << whole.size();
    }
  }
}

TEST(JPEGReading, GivesAPictureOrAnErrorForDamageAnywhere) {
  const Bytes whole = samples::jpeg(samples::gradient(40, 40), {.isProgressive = true});
  for (std::size_t at = 0; at < whole.size(); ++at) {
    Bytes damaged = whole;
    damaged[at] ^= 0xFF;
    if (const auto image = UIImage::fromData(damaged)) {
      EXPECT_EQ(image->pixels().size(), image->width() * image->height() * 4);
    }
  }
}

TEST(JPEGReading, RefusesASizeThatTheBytesCannotFill) {
  const Bytes small = samples::jpeg(samples::gradient(8, 8));

  EXPECT_EQ(errorOf(claiming(small, 10000, 10000)), number(ImageErrorCode::damaged));
  EXPECT_EQ(errorOf(claiming(small, 65535, 8)), number(ImageErrorCode::damaged));
  EXPECT_EQ(errorOf(claiming(small, 0, 8)), number(ImageErrorCode::damaged));
}

TEST(JPEGReading, RefusesMorePixelsThanAreTaken) {
  const Bytes small = samples::jpeg(samples::gradient(8, 8));

  EXPECT_EQ(errorOf(claiming(small, 65500, 65500)), number(ImageErrorCode::tooLarge));
}

TEST(JPEGReading, RefusesEndlessScans) {
  Bytes file = samples::jpeg(samples::gradient(40, 40), {.isProgressive = true});
  const Bytes head{0xFF, 0xDA};
  const auto begin = std::search(file.begin(), file.end(), head.begin(), head.end());
  const auto end =
      std::adjacent_find(begin + 2, file.end(), [](int a, int b) { return a == 0xFF && b != 0; });
  ASSERT_NE(end, file.end());
  const Bytes scan(begin, end);
  Bytes many;
  for (int i = 0; i < 200; ++i) many.insert(many.end(), scan.begin(), scan.end());
  file.insert(end, many.begin(), many.end());

  const auto image = UIImage::fromData(file);

  ASSERT_FALSE(image.has_value());
  EXPECT_NE(image.error().message().find("too many scans"), std::string::npos)
      << image.error().message();
}

}  // namespace
}  // namespace uikit
