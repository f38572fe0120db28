#include "UIKit/UIImage.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>

#include "Tests/Support/ErrorCode.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "Tests/UIKit/Samples.h"
#include "UIKit/ImageError.h"

namespace uikit {
namespace {

using foundation::Data;
using samples::Bytes;
using support::number;

Data pixels(std::size_t count) { return Data(Bytes(count * 4, 7)); }

TEST(UIImage, IsMadeFromPixels) {
  const auto image = UIImage::fromPixels(3, 2, pixels(6));

  ASSERT_TRUE(image.has_value());
  EXPECT_EQ(image->width(), 3U);
  EXPECT_EQ(image->height(), 2U);
  EXPECT_EQ(image->pixels(), pixels(6));
}

TEST(UIImage, TakesNoPixelsThatDoNotFillIt) {
  EXPECT_FALSE(UIImage::fromPixels(3, 2, pixels(5)).has_value());
  EXPECT_FALSE(UIImage::fromPixels(3, 2, pixels(7)).has_value());
  EXPECT_FALSE(UIImage::fromPixels(0, 2, pixels(1)).has_value());
}

TEST(UIImage, TakesNoSizeWhoseProductOverflows) {
  EXPECT_FALSE(UIImage::fromPixels(std::size_t{1} << 32, std::size_t{1} << 32, Data()).has_value());
  EXPECT_FALSE(UIImage::fromPixels(std::size_t{1} << 31, std::size_t{1} << 31, Data()).has_value());
}

TEST(UIImage, SharesItsPixelsWithItsCopies) {
  const UIImage image = samples::gradient(64, 64);
  const std::vector<UIImage> copies(2, image);

  EXPECT_EQ(copies[1].pixels().bytes().data(), image.pixels().bytes().data());
}

TEST(UIImage, IsReadFromAFile) {
  const support::TemporaryDirectory directory;
  const auto path = directory.path() / "photo.jpg";
  const Bytes file = samples::jpeg(samples::gradient(20, 10));
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(file.data()), static_cast<std::streamsize>(file.size()));

  const auto image = UIImage::contentsOfFile(path.string());

  ASSERT_TRUE(image.has_value()) << image.error().description();
  EXPECT_EQ(*image, UIImage::fromData(file).value());
}

TEST(UIImage, SaysWhichFileCannotBeRead) {
  const support::TemporaryDirectory directory;
  const auto path = (directory.path() / "missing.jpg").string();

  const auto image = UIImage::contentsOfFile(path);

  ASSERT_FALSE(image.has_value());
  EXPECT_EQ(image.error().domain(), foundation::kPosixErrorDomain);
  EXPECT_EQ(image.error().code(), ENOENT);
  EXPECT_NE(image.error().message().find(path), std::string::npos);
}

TEST(UIImage, ReadsNoDirectory) {
  const support::TemporaryDirectory directory;

  EXPECT_EQ(UIImage::contentsOfFile(directory.path().string()).error().code(), EISDIR);
}

TEST(UIImage, KnowsNoOtherFormats) {
  for (const std::string_view text :
       {"", "GIF89a", "RIFF....WEBPVP8 ", "<svg/>", "\xFF\xD8", "\x89PNG"}) {
    const auto image = UIImage::fromData(Data::fromText(text).bytes());

    ASSERT_FALSE(image.has_value()) << text;
    EXPECT_EQ(image.error().code(), number(ImageErrorCode::unknownFormat)) << text;
  }
}

}  // namespace
}  // namespace uikit
