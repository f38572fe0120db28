#include "Foundation/Json/NSJSONSerialization.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "Foundation/Values/Error.h"
#include "Tests/Support/ErrorCode.h"

namespace foundation {
namespace {

using support::errorCode;
using support::number;

std::string written(const Value& value) {
  return std::string(NSJSONSerialization::data(value).text());
}
std::int64_t codeOfWriting(const Value& value) {
  return errorCode([&] { static_cast<void>(NSJSONSerialization::data(value)); });
}
Value read(std::string_view text) { return NSJSONSerialization::JSONObject(Data::fromText(text)); }
std::int64_t codeOfReading(std::string_view text) {
  return errorCode([&] { static_cast<void>(read(text)); });
}

std::string nested(int depth) {
  return std::string(static_cast<std::size_t>(depth), '[') +
         std::string(static_cast<std::size_t>(depth), ']');
}

TEST(NSJSONSerialization, WritesCompactText) {
  const Value value(ValueDictionary{{"list", ValueList{1, -2.5, true, nullptr, "a"}},
                                    {"object", ValueDictionary{}}});

  EXPECT_EQ(written(value), R"({"list":[1,-2.5,true,null,"a"],"object":{}})");
}

TEST(NSJSONSerialization, WritesAFileNameWithItsSlashesEscaped) {
  EXPECT_EQ(written(ValueDictionary{{"filename", "a/b.jpg"}}), R"({"filename":"a\/b.jpg"})");
  EXPECT_EQ(written(ValueDictionary{{"a/b", ""}}), R"({"a\/b":""})");
}

TEST(NSJSONSerialization, EscapesControlCharactersAndLeavesOthersAsTheyAre) {
  EXPECT_EQ(written(ValueList{"\"\\\b\f\n\r\t\x01\x1f"}), R"(["\"\\\b\f\n\r\t\u0001\u001f"])");
  EXPECT_EQ(written(ValueList{std::string("\0", 1)}), R"(["\u0000"])");
  EXPECT_EQ(written(ValueList{"사진 😀 \x7f"}), "[\"사진 😀 \x7f\"]");
}

TEST(NSJSONSerialization, WritesNumbersAsShortAsTheyAre) {
  constexpr auto kLeast = std::numeric_limits<std::int64_t>::min();
  EXPECT_EQ(written(ValueList{1.0, 0.1, 1e300, kLeast, false}),
            "[1,0.1,1e+300,-9223372036854775808,false]");
}

TEST(NSJSONSerialization, WritesNoBareValue) {
  for (const Value& value : {Value("text"), Value(1), Value(nullptr)}) {
    EXPECT_EQ(codeOfWriting(value), number(JSONErrorCode::unwritable));
  }
}

TEST(NSJSONSerialization, WritesNothingThatJSONCannotSay) {
  EXPECT_EQ(codeOfWriting(ValueList{Date()}), number(JSONErrorCode::unwritable));
  EXPECT_EQ(codeOfWriting(ValueList{Data()}), number(JSONErrorCode::unwritable));
  EXPECT_EQ(codeOfWriting(ValueList{std::numeric_limits<double>::infinity()}),
            number(JSONErrorCode::unwritable));
  EXPECT_EQ(codeOfWriting(ValueList{std::numeric_limits<double>::quiet_NaN()}),
            number(JSONErrorCode::unwritable));
}

TEST(NSJSONSerialization, WritesNoTextThatIsNotUTF8) {
  for (const std::string text : {"\xff", "\xc3", "\xc0\xaf", "\xed\xa0\x80", "\xf4\x90\x80\x80"}) {
    EXPECT_EQ(codeOfWriting(ValueList{text}), number(JSONErrorCode::unwritable));
    EXPECT_EQ(codeOfWriting(ValueDictionary{{text, 1}}), number(JSONErrorCode::unwritable));
  }
}

TEST(NSJSONSerialization, WritesAndReadsUpToTheGreatestDepth) {
  const std::string deepest = nested(NSJSONSerialization::kMaximumDepth);

  EXPECT_EQ(written(read(deepest)), deepest);
  EXPECT_EQ(codeOfReading(nested(NSJSONSerialization::kMaximumDepth + 1)),
            number(JSONErrorCode::tooDeep));
  EXPECT_EQ(codeOfReading(std::string(5'000'000, '[')), number(JSONErrorCode::tooDeep));
  EXPECT_EQ(codeOfWriting(ValueList{read(deepest)}), number(JSONErrorCode::tooDeep));
}

TEST(NSJSONSerialization, ReadsAllKindsOfValues) {
  const Value value = read(R"( {"list": [1, -2.5, true, null, "a"], "object": {"b": {}}} )");

  EXPECT_EQ(value, Value(ValueDictionary{{"list", ValueList{1, -2.5, true, nullptr, "a"}},
                                         {"object", ValueDictionary{{"b", ValueDictionary{}}}}}));
}

TEST(NSJSONSerialization, ReadsTextsWithTheirEscapesResolved) {
  EXPECT_EQ(read(R"(["\/\"\\\b\f\n\r\t\u0000사\uc0ac\ud83d\ude00"])"),
            Value(ValueList{std::string("/\"\\\b\f\n\r\t\0사사😀", 8 + 1 + 10)}));
}

TEST(NSJSONSerialization, ReadsNumbersWholeWhereTheyFit) {
  const Value value = read("[9223372036854775807, 9223372036854775808, 1.0, 1e2, -0]");
  const ValueList& list = *value.list();

  EXPECT_EQ(list[0].number()->exactInt64(), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(list[1].number()->doubleValue(), 9223372036854775808.0);
  EXPECT_EQ(list[2], Value(1));
  EXPECT_EQ(list[3], Value(100));
  EXPECT_EQ(list[4], Value(0));
}

TEST(NSJSONSerialization, ReadsTheLastOfEqualKeys) {
  EXPECT_EQ(read(R"({"a": 1, "b": 2, "a": 3})"), Value(ValueDictionary{{"a", 3}, {"b", 2}}));
}

TEST(NSJSONSerialization, PassesOverAByteOrderMark) {
  EXPECT_EQ(read("\xef\xbb\xbf[]"), Value(ValueList{}));
}

TEST(NSJSONSerialization, ReadsNothingElse) {
  for (const std::string text : {"",
                                 " ",
                                 "\xef\xbb\xbf",
                                 "\"text\"",
                                 "1",
                                 "null",
                                 "[] []",
                                 "[]x",
                                 "[1,]",
                                 "[",
                                 "{\"a\"}",
                                 "{a: 1}",
                                 "['a']",
                                 "[01]",
                                 "[1e999]",
                                 "[nan]",
                                 "[\"\n\"]",
                                 "[\"\\x\"]",
                                 "[\"\\ud800\"]",
                                 "[\"\xff\"]",
                                 "[\"\xed\xa0\x80\"]",
                                 "// a\n[]",
                                 "[]\xff"}) {
    EXPECT_EQ(codeOfReading(text), number(JSONErrorCode::unreadable)) << text;
  }
  EXPECT_EQ(codeOfReading(std::string_view("[]\0x", 4)), number(JSONErrorCode::unreadable));
}

TEST(NSJSONSerialization, TellsThePlaceAndNoneOfTheText) {
  try {
    static_cast<void>(read(R"(["secret" x])"));
    FAIL() << "what is no JSON was read";
  } catch (const Error& error) {
    EXPECT_EQ(error.domain(), kCocoaErrorDomain);
    EXPECT_EQ(error.message(), "This is not JSON: byte 11.");
  }
}

TEST(NSJSONSerialization, ReadsWhatItWrote) {
  const Value value(ValueDictionary{{"filename", "photo/사진 \"1\"\n.jpg"}, {"", ValueList{0.1}}});

  EXPECT_EQ(NSJSONSerialization::JSONObject(NSJSONSerialization::data(value)), value);
}

}  // namespace
}  // namespace foundation
