#include <gtest/gtest.h>
#include <stb/stb_image.h>

#include <cmath>
#include <map>
#include <memory>
#include <stdexcept>
#include <tuple>

#include "Tests/UIKit/Samples.h"
#include "UIKit/Internal/JPEG.h"
#include "UIKit/Internal/JPEGTiles.h"
#include "UIKit/UIImage.h"

namespace uikit {
namespace {

using foundation::Data;
using samples::Colour;
using samples::colourAt;
using samples::largestDifference;

/// What a JPEG file says before its picture: the segments by their marker.
std::multimap<int, std::vector<std::uint8_t>> segments(const Data& file) {
  std::multimap<int, std::vector<std::uint8_t>> result;
  const auto bytes = file.bytes();
  std::size_t at = 2;
  while (at + 4 < bytes.size() && bytes[at] == 0xFF) {
    const int marker = bytes[at + 1];
    const std::size_t size = std::size_t{bytes[at + 2]} << 8 | bytes[at + 3];
    const auto content = bytes.subspan(at + 4, size - 2);
    result.emplace(marker, std::vector<std::uint8_t>(content.begin(), content.end()));
    if (marker == 0xDA) break;
    at += 2 + size;
  }
  return result;
}

Data written(const UIImage& image, double quality = 1.0) { return image.jpegData(quality).value(); }

TEST(JPEGWriting, KeepsTheSizeAndNearlyEveryColour) {
  const UIImage image = samples::gradient(127, 65);

  const auto read = UIImage::fromData(written(image).bytes());

  ASSERT_TRUE(read.has_value()) << read.error().description();
  EXPECT_LE(largestDifference(*read, image), 3);
}

/// The picture as a decoder of another maker reads it.
UIImage readElsewhere(const Data& file) {
  int width = 0;
  int height = 0;
  int channels = 0;
  const std::unique_ptr<stbi_uc, decltype(&stbi_image_free)> decoded(
      stbi_load_from_memory(file.bytes().data(), static_cast<int>(file.bytes().size()), &width,
                            &height, &channels, 3),
      &stbi_image_free);
  if (!decoded) throw std::runtime_error(stbi_failure_reason());
  EXPECT_EQ(channels, 3);
  return samples::picture(static_cast<std::size_t>(width), static_cast<std::size_t>(height),
                          [&](std::size_t x, std::size_t y) {
                            const stbi_uc* pixel =
                                decoded.get() + 3 * (y * static_cast<std::size_t>(width) + x);
                            return Colour{pixel[0], pixel[1], pixel[2]};
                          });
}

TEST(JPEGWriting, OpensInAnotherMakersDecoder) {
  // Columns that change from pixel to pixel: with colours at half the resolution they would run
  // into each other.
  const UIImage image = samples::picture(61, 33, [](std::size_t x, std::size_t y) {
    return x % 2 == 0 ? Colour{220, 40, static_cast<int>(y)} : Colour{30, 60, 200};
  });

  const UIImage read = readElsewhere(written(image));

  ASSERT_EQ(std::tuple(read.width(), read.height()), std::tuple(61U, 33U));
  EXPECT_LE(largestDifference(read, image), 4);
}

TEST(JPEGWriting, TellsTheSizeInTheFrame) {
  const auto frame = segments(written(samples::gradient(300, 2))).find(0xC0)->second;

  EXPECT_EQ(frame[1] << 8 | frame[2], 2);
  EXPECT_EQ(frame[3] << 8 | frame[4], 300);
}

TEST(JPEGWriting, QuantisesNothingAtTheHighestQuality) {
  const auto all = segments(written(samples::gradient(16, 16)));

  ASSERT_GT(all.count(0xDB), 0U);
  for (auto [at, end] = all.equal_range(0xDB); at != end; ++at) {
    for (std::size_t i = 1; i < at->second.size(); ++i) EXPECT_EQ(at->second[i], 1);
  }
}

TEST(JPEGWriting, KeepsTheResolutionOfColoursAtTheHighestQualityOnly) {
  const auto samplings = [](double quality) {
    const auto frame = segments(written(samples::gradient(16, 16), quality)).find(0xC0)->second;
    return std::vector<int>{frame[7], frame[10], frame[13]};
  };

  EXPECT_EQ(samplings(1.0), (std::vector{0x11, 0x11, 0x11}));
  EXPECT_EQ(samplings(0.999), (std::vector{0x22, 0x11, 0x11}));
}

TEST(JPEGWriting, KeepsASinglePixelOfColour) {
  const UIImage image = samples::picture(16, 16, [](std::size_t x, std::size_t y) {
    return x == 8 && y == 8 ? Colour{255, 0, 0} : Colour{0, 0, 0};
  });

  const UIImage read = UIImage::fromData(written(image).bytes()).value();

  EXPECT_LE(largestDifference(read, image), 4);
}

TEST(JPEGWriting, LaysThePictureOnWhite) {
  const UIImage image = samples::picture(24, 8, [](std::size_t x, std::size_t) {
    if (x < 8) return Colour{255, 0, 0, 0};
    return x < 16 ? Colour{0, 0, 0, 128} : Colour{0, 0, 255, 255};
  });

  const UIImage read = UIImage::fromData(written(image).bytes()).value();

  EXPECT_EQ(colourAt(read, 3, 3), (Colour{255, 255, 255}));
  EXPECT_NEAR(colourAt(read, 11, 3).green, 127, 2);
  EXPECT_NEAR(colourAt(read, 20, 3).blue, 255, 2);
}

TEST(JPEGWriting, LeavesNoMetadataBehind) {
  const UIImage image =
      UIImage::fromData(samples::jpeg(samples::gradient(16, 16), {.camera = {'E', 'x', 'i', 'f'}}))
          .value();

  const auto all = segments(written(image));

  EXPECT_EQ(all.count(0xE0), 1U);  // The file's own kind, which every reader expects.
  for (int marker = 0xE1; marker <= 0xEF; ++marker) EXPECT_EQ(all.count(marker), 0U) << marker;
  EXPECT_EQ(all.count(0xFE), 0U);
}

TEST(JPEGWriting, GivesTheSameBytesForTheSamePicture) {
  EXPECT_EQ(written(samples::gradient(100, 100)), written(samples::gradient(100, 100)));
}

TEST(JPEGWriting, GivesNothingForAPictureWithoutSize) {
  EXPECT_EQ(UIImage().jpegData(1.0), std::nullopt);
  EXPECT_EQ(UIImage::fromPixels(0, 0, Data()).value().jpegData(1.0), std::nullopt);
  EXPECT_EQ(UIImage::fromPixels(5, 0, Data()).value().jpegData(1.0), std::nullopt);
}

/// A picture of which no part is like another.
Colour restless(std::size_t x, std::size_t y) {
  const auto shade = [](std::size_t number) { return static_cast<int>(number % 256); };
  return {shade(x / 4), shade(x / 256 + y), shade(y / 4)};
}

TEST(JPEGWriting, TakesEverySideThatTheFormatCanName) {
  for (const std::size_t side : {65500U, 65501U, 65535U}) {
    const UIImage wide = samples::picture(side, 9, restless);
    const UIImage high = samples::picture(9, side, restless);
    EXPECT_LE(largestDifference(readElsewhere(written(wide)), wide), 4) << side;
    EXPECT_LE(largestDifference(readElsewhere(written(high)), high), 4) << side;
  }
}

TEST(JPEGWriting, GivesTheSamePictureInParts) {
  // In units of 8 or 16 pixels these sides are even, odd, prime, and cut short at the end.
  constexpr std::size_t kLongestPart = 160;
  constexpr std::size_t kSides[] = {64, 161, 168, 176, 184, 185, 231, 247, 288};
  for (const std::size_t width : kSides) {
    for (const std::size_t height : kSides) {
      if (width <= kLongestPart && height <= kLongestPart) continue;
      const UIImage image = samples::picture(width, height, restless);
      for (const int quality : {100, 60}) {
        const PixelWindow pixels{width, height, width * 4, image.pixels().bytes()};
        const auto parts = jpegInTiles(pixels, quality, kLongestPart);
        const auto whole = encodedJPEG(width, height, image.pixels().bytes(), quality);
        EXPECT_EQ(UIImage::fromData(*parts).value(), UIImage::fromData(whole->bytes()).value())
            << width << " x " << height << " at " << quality;
      }
    }
  }
}

TEST(JPEGWriting, GivesNothingForSidesThatTheFormatCannotName) {
  EXPECT_EQ(samples::gradient(65536, 1).jpegData(1.0), std::nullopt);
  EXPECT_EQ(samples::gradient(1, 65536).jpegData(1.0), std::nullopt);
}

TEST(JPEGWriting, TakesAnyQuality) {
  const UIImage image = samples::gradient(64, 64);

  EXPECT_EQ(written(image, 7.5), written(image, 1.0));
  EXPECT_EQ(written(image, std::nan("")), written(image, 1.0));
  EXPECT_EQ(written(image, -1.0), written(image, 0.0));
  EXPECT_LT(written(image, 0.5).size(), written(image, 1.0).size());
  EXPECT_LT(written(image, 0.0).size(), written(image, 0.5).size());
}

}  // namespace
}  // namespace uikit
