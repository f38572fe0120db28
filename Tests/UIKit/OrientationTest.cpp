#include "UIKit/Internal/Orientation.h"

#include <gtest/gtest.h>

#include "Tests/UIKit/Samples.h"
#include "UIKit/UIImage.h"

namespace uikit {
namespace {

using samples::Bytes;

/// A camera's segment that tells the orientation, behind one entry of another kind.
Bytes segment(std::uint8_t orientation, bool isLittleEndian = true) {
  Bytes little{'E', 'x', 'i', 'f', 0, 0, 'I', 'I', 42,   0, 8, 0, 0, 0, 2, 0, 0x0F,        1, 2, 0,
               4,   0,   0,   0,   0, 0, 0,   0,   0x12, 1, 3, 0, 1, 0, 0, 0, orientation, 0, 0, 0};
  Bytes big{'E', 'x', 'i', 'f', 0, 0, 'M', 'M', 0, 42,   0, 0, 0, 8, 0, 2, 1, 0x0F,        0, 2,
            0,   0,   0,   4,   0, 0, 0,   0,   1, 0x12, 0, 3, 0, 0, 0, 1, 0, orientation, 0, 0};
  return isLittleEndian ? little : big;
}

/// Three columns and two rows, whose letters say where they were seen.
Picture letters(std::string_view text, std::size_t width) {
  Picture result{width, text.size() / width, {}};
  for (const char letter : text) {
    for (std::size_t i = 0; i < kBytesPerPixel; ++i) {
      result.pixels.push_back(static_cast<std::uint8_t>(letter));
    }
  }
  return result;
}
std::string text(const Picture& picture) {
  std::string result;
  for (std::size_t i = 0; i < picture.pixels.size(); i += kBytesPerPixel) {
    result += static_cast<char>(picture.pixels[i]);
    if ((i / kBytesPerPixel + 1) % picture.width == 0) result += '/';
  }
  return result;
}

TEST(Orientation, IsReadInBothByteOrders) {
  for (std::uint8_t number = 1; number <= 8; ++number) {
    EXPECT_EQ(exifOrientation(segment(number)), static_cast<Orientation>(number));
    EXPECT_EQ(exifOrientation(segment(number, false)), static_cast<Orientation>(number));
  }
}

TEST(Orientation, IsReadWhereItIsTheOnlyEntry) {
  Bytes alone = segment(6);
  alone[14] = 1;
  alone.erase(alone.begin() + 16, alone.begin() + 28);

  EXPECT_EQ(exifOrientation(alone), static_cast<Orientation>(6));
}

TEST(Orientation, IsAbsentWhereNoneIsTold) {
  EXPECT_EQ(exifOrientation({}), std::nullopt);
  EXPECT_EQ(exifOrientation(segment(0)), std::nullopt);
  EXPECT_EQ(exifOrientation(segment(9)), std::nullopt);
  Bytes other = segment(6);
  other[0] = 'h';
  EXPECT_EQ(exifOrientation(other), std::nullopt);
}

TEST(Orientation, IsNotLookedForOutsideOfTheSegment) {
  const Bytes whole = segment(6);
  for (std::size_t size = 0; size + 4 < whole.size(); ++size) {
    const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    EXPECT_EQ(exifOrientation(cut), std::nullopt) << size;
  }
  Bytes far = whole;
  for (std::size_t i = 10; i < 14; ++i) far[i] = 0xFF;
  EXPECT_EQ(exifOrientation(far), std::nullopt);
}

TEST(Orientation, TurnsThePictureTheWayItWasSeen) {
  const auto seen = [](int number) {
    return text(upright(letters("abcdef", 3), static_cast<Orientation>(number)));
  };

  EXPECT_EQ(seen(1), "abc/def/");
  EXPECT_EQ(seen(2), "cba/fed/");
  EXPECT_EQ(seen(3), "fed/cba/");
  EXPECT_EQ(seen(4), "def/abc/");
  EXPECT_EQ(seen(5), "ad/be/cf/");
  EXPECT_EQ(seen(6), "da/eb/fc/");
  EXPECT_EQ(seen(7), "fc/eb/da/");
  EXPECT_EQ(seen(8), "cf/be/ad/");
}

TEST(Orientation, IsAppliedWhenAnImageIsRead) {
  const UIImage stored = samples::gradient(40, 20);

  const UIImage read = UIImage::fromData(samples::jpeg(stored, {.camera = segment(6)})).value();

  EXPECT_EQ(read.width(), 20U);
  EXPECT_EQ(read.height(), 40U);
  const UIImage plain = UIImage::fromData(samples::jpeg(stored)).value();
  EXPECT_EQ(samples::colourAt(read, 19, 0), samples::colourAt(plain, 0, 0));
  EXPECT_EQ(samples::colourAt(read, 0, 39), samples::colourAt(plain, 39, 19));
}

}  // namespace
}  // namespace uikit
