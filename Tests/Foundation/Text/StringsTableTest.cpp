#include "Foundation/Text/StringsTable.h"

#include <gtest/gtest.h>

#include "Foundation/Values/Error.h"

namespace foundation {
namespace {

std::string complaint(std::string_view text) {
  try {
    static_cast<void>(StringsTable::parse(text));
  } catch (const Error& error) {
    return error.message();
  }
  return "none";
}

TEST(StringsTable, FindsTheTextOfAKey) {
  const StringsTable table =
      StringsTable::parse("\"Daily Streak\" = \"%d일 연속\";\n\"None\"=\"\";");

  EXPECT_EQ(table.find("Daily Streak"), "%d일 연속");
  EXPECT_EQ(table.find("None"), "");
  EXPECT_EQ(table.find("none"), std::nullopt);
  EXPECT_EQ(table.size(), 2U);
}

TEST(StringsTable, SkipsCommentsAndTheByteOrderMark) {
  const StringsTable table = StringsTable::parse(
      "\xEF\xBB\xBF/* a = \"b\"; */ // \"x\"\n\"a\" /* of */ = \"// no comment\"; // end");

  EXPECT_EQ(table.find("a"), "// no comment");
  EXPECT_EQ(table.size(), 1U);
}

TEST(StringsTable, ResolvesEscapes) {
  EXPECT_EQ(StringsTable::parse(R"("a" = "\"\\\n\t\r";)").find("a"), "\"\\\n\t\r");
}

TEST(StringsTable, TakesTheLastOfTwoTexts) {
  EXPECT_EQ(StringsTable::parse(R"("a" = "1"; "a" = "2";)").find("a"), "2");
}

TEST(StringsTable, NamesTheLineThatIsDamaged) {
  EXPECT_EQ(complaint("\"a\" = \"1\";\n\"b\" \"2\";"), "line 2: expected '='");
  EXPECT_EQ(complaint("\"a\" = \"1\""), "line 1: expected ';'");
  EXPECT_EQ(complaint("\n\na = b;"), "line 3: expected a text in double quotes");
  EXPECT_EQ(complaint("\"a\" = \"1"), "line 1: the text has no closing quote");
  EXPECT_EQ(complaint("\"a\\"), "line 1: the text has no closing quote");
  EXPECT_EQ(complaint("\"\\q\""), "line 1: unknown character after a backslash");
  EXPECT_EQ(complaint("/* for ever"), "line 1: the comment has no end");
}

TEST(StringsTable, MayBeEmpty) { EXPECT_EQ(StringsTable::parse(" \n").size(), 0U); }

}  // namespace
}  // namespace foundation
