#include "CoreData/SQLite/MetadataText.h"

#include <gtest/gtest.h>

#include <limits>

#include "Tests/CoreData/SQLite/StoreFixture.h"

namespace {
using coredata::metadataText;
using coredata::metadataValue;
using foundation::Data;
using foundation::Date;
using foundation::UUID;
using foundation::Value;
using foundation::ValueDictionary;
using foundation::ValueList;

Value nested(int levels) {
  Value value = 1;
  for (int i = 0; i < levels; ++i) value = ValueList{value};
  return value;
}
}  // namespace

TEST(MetadataText, BringsEveryKindOfValueBack) {
  const Value values[] = {Value(),
                          true,
                          false,
                          0,
                          -1,
                          std::numeric_limits<std::int64_t>::min(),
                          std::numeric_limits<std::int64_t>::max(),
                          0.1,
                          1e300,
                          "",
                          "text \"quoted\"\n",
                          "날짜",
                          Date::fromReference(7.25),
                          Data(std::vector<std::uint8_t>{0, 255, 16}),
                          Data(),
                          UUID(),
                          ValueList{},
                          ValueList{1, "two", ValueList{3}},
                          ValueDictionary{},
                          ValueDictionary{{"date", 1}, {"", ValueDictionary{{"data", "x"}}}}};

  for (const Value& value : values) {
    const auto back = metadataValue(metadataText(value));
    ASSERT_TRUE(back) << metadataText(value);
    EXPECT_EQ(*back, value) << metadataText(value);
  }
}

TEST(MetadataText, ReadsWhatIsNestedAsDeepAsItWrites) {
  constexpr int kDeepest = 32;
  EXPECT_EQ(metadataValue(metadataText(nested(kDeepest))), nested(kDeepest));
  EXPECT_NE(shelf::errorCode([&] { static_cast<void>(metadataText(nested(kDeepest + 1))); }), 0);
  EXPECT_FALSE(metadataValue("[" + metadataText(nested(kDeepest)) + "]"));
}

TEST(MetadataText, KeepsRealNumbersReal) {
  EXPECT_TRUE(metadataValue(metadataText(2.0))->number()->isReal());
  EXPECT_FALSE(metadataValue(metadataText(2))->number()->isReal());
}

TEST(MetadataText, IsReadable) {
  EXPECT_EQ(metadataText(
                ValueDictionary{{"since", Date::fromReference(7.5)}, {"list", ValueList{1, "a"}}}),
            R"({"dictionary":{"list":[1,"a"],"since":{"date":7.5}}})");
}

TEST(MetadataText, RefusesWhatItCannotKeep) {
  const Value values[] = {Value(shelf::model()), std::numeric_limits<double>::infinity(),
                          std::numeric_limits<double>::quiet_NaN(), "\xff", nested(40)};
  for (const Value& value : values) {
    EXPECT_NE(shelf::errorCode([&] { static_cast<void>(metadataText(value)); }), 0);
  }
}

TEST(MetadataText, GivesNothingForOtherTexts) {
  for (const char* text :
       {"", "{", "nonsense", "{}", "{\"date\":\"x\"}", "{\"data\":\"abc\"}", "{\"data\":\"zz\"}",
        "{\"uuid\":\"x\"}", "{\"date\":1,\"data\":\"\"}", "[1] 2", "1, 2"}) {
    EXPECT_FALSE(metadataValue(text)) << text;
  }
  EXPECT_FALSE(metadataValue(std::string(100'000, '[')));
  EXPECT_FALSE(metadataValue(std::string(40, '[') + std::string(40, ']')));
}
