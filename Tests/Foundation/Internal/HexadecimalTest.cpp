#include "Foundation/Internal/Hexadecimal.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace foundation {
namespace {

using Bytes = std::vector<std::uint8_t>;

TEST(Hexadecimal, WritesTwoDigitsForEachByte) {
  EXPECT_EQ(hexadecimal(Bytes{0x00, 0x0f, 0xa0, 0xff}), "000fa0ff");
  EXPECT_EQ(hexadecimal(Bytes{}), "");
}

TEST(Hexadecimal, ReadsWhatItWrites) {
  EXPECT_EQ(bytesInHexadecimal("000fa0ff"), (Bytes{0x00, 0x0f, 0xa0, 0xff}));
  EXPECT_EQ(bytesInHexadecimal(""), Bytes{});
}

TEST(Hexadecimal, ReadsNoOtherText) {
  for (const std::string_view text : {"0", "000", "0g", "FF", " 0", "0 "}) {
    EXPECT_EQ(bytesInHexadecimal(text), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace foundation
