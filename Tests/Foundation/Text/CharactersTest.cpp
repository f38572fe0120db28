#include "Foundation/Text/Characters.h"

#include <gtest/gtest.h>

#include <string>

namespace foundation {
namespace {

TEST(Prefix, CountsBytesInPlainText) {
  EXPECT_EQ(prefix("2024-02-10", 7), "2024-02");
  EXPECT_EQ(prefix("2024", 7), "2024");
  EXPECT_EQ(prefix("", 7), "");
  EXPECT_EQ(prefix("abc", 0), "");
}

TEST(Prefix, CountsWhatAPersonCallsCharacters) {
  EXPECT_EQ(prefix("٢٠٢٤-٠٢-١٠", 7), "٢٠٢٤-٠٢");
  EXPECT_EQ(prefix("체크인", 2), "체크");
  EXPECT_EQ(prefix("🇰🇷🇺🇸x", 1), "🇰🇷");
  EXPECT_EQ(prefix("👩‍👩‍👧ab", 2), "👩‍👩‍👧a");
}

TEST(Prefix, KeepsAnAccentWithItsLetter) {
  EXPECT_EQ(prefix("e\u0301f", 1), "e\u0301");
  EXPECT_EQ(prefix("abcdefg\u0301h", 7), "abcdefg\u0301");
}

TEST(Prefix, TakesALineEndOfTwoBytesAsOneCharacter) { EXPECT_EQ(prefix("a\r\nb", 2), "a\r\n"); }

TEST(Prefix, LivesWithBytesThatAreNoText) {
  EXPECT_EQ(prefix("\xFF\xFE\xFD", 2), "\xFF\xFE");
  EXPECT_EQ(prefix("ab\xE2\x82", 9), "ab\xE2\x82");
}

TEST(Trimming, TakesWhiteSpaceAndLineEndsFromBothSides) {
  EXPECT_EQ(trimmingWhitespaceAndNewlines(" \t\r\n a b \n"), "a b");
  EXPECT_EQ(trimmingWhitespaceAndNewlines(""), "");
  EXPECT_EQ(trimmingWhitespaceAndNewlines(" \n "), "");
  EXPECT_EQ(trimmingWhitespaceAndNewlines("체크"), "체크");
}

TEST(Trimming, KnowsAllOfUnicodesWhiteSpace) {
  for (const std::string_view space :
       {"\t",     "\n",     "\v",     "\f",     "\r",     " ",      "\u0085", "\u00A0", "\u1680",
        "\u2000", "\u2001", "\u2002", "\u2003", "\u2004", "\u2005", "\u2006", "\u2007", "\u2008",
        "\u2009", "\u200A", "\u2028", "\u2029", "\u202F", "\u205F", "\u3000"}) {
    EXPECT_EQ(trimmingWhitespaceAndNewlines(std::string(space) + "a" + std::string(space)), "a");
  }
}

TEST(Trimming, LeavesTheZeroWidthSpace) {
  EXPECT_EQ(trimmingWhitespaceAndNewlines("\u200Ba\u200B"), "\u200Ba\u200B");
  EXPECT_EQ(trimmingWhitespaceAndNewlines(" \xFF "), "\xFF");
}

TEST(Utf8, IsWhatTextConsistsOf) {
  EXPECT_TRUE(isUtf8(""));
  EXPECT_TRUE(isUtf8("Run"));
  EXPECT_TRUE(isUtf8("체크인 🇰🇷"));
}

TEST(Utf8, IsNotWhatOtherEncodingsWrite) {
  EXPECT_FALSE(isUtf8("caf\xE9"));
  EXPECT_FALSE(isUtf8("ab\xE2\x82"));
  EXPECT_FALSE(isUtf8("\xC0\x80"));
  EXPECT_FALSE(isUtf8("\xED\xA0\x80"));
  EXPECT_FALSE(isUtf8("\xF4\x90\x80\x80"));
}

}  // namespace
}  // namespace foundation
