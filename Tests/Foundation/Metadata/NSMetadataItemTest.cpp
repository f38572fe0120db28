#include "Foundation/Metadata/NSMetadataItem.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "Foundation/Predicate/NSPredicate.h"

namespace foundation {
namespace {

Ref<NSMetadataItem> itemNamed(Value name) {
  return make<NSMetadataItem>(
      ValueDictionary{{std::string(NSMetadataItemFSNameKey), std::move(name)}});
}

TEST(NSMetadataItem, GivesTheAttributesThatItHas) {
  const auto item = itemNamed("rose.sqlite");

  EXPECT_EQ(item->value(NSMetadataItemFSNameKey), Value("rose.sqlite"));
  EXPECT_EQ(item->value(NSMetadataItemURLKey), std::nullopt);
}

TEST(NSMetadataItem, HasNoAttributeThatIsAbsent) {
  EXPECT_EQ(itemNamed(Value())->value(NSMetadataItemFSNameKey), std::nullopt);
  EXPECT_TRUE(itemNamed(Value())->attributes().empty());
}

TEST(NSMetadataItem, MatchesEveryNameWithAStarIfItHasOne) {
  const auto predicate = NSPredicate::format("%K like '*'", NSMetadataItemFSNameKey);

  EXPECT_TRUE(predicate.evaluate(*itemNamed("rose.sqlite")));
  EXPECT_TRUE(predicate.evaluate(*itemNamed("")));
  EXPECT_FALSE(predicate.evaluate(*itemNamed(Value())));
  EXPECT_FALSE(predicate.evaluate(*itemNamed(1)));
}

TEST(NSMetadataItem, MatchesAPatternByCaseUnlessToldOtherwise) {
  const auto matches = [](const char* format, const char* name) {
    return NSPredicate::format(format, NSMetadataItemFSNameKey).evaluate(*itemNamed(name));
  };

  EXPECT_TRUE(matches("%K like 'R?se.*'", "Rose.sqlite"));
  EXPECT_FALSE(matches("%K like 'R?se.*'", "rose.sqlite"));
  EXPECT_FALSE(matches("%K like 'R?se.*'", "Rse.sqlite"));
  EXPECT_TRUE(matches("%K like[c] 'R?se.*'", "rose.sqlite"));
}

TEST(NSMetadataItem, EqualsAnotherOneWithTheSameAttributes) {
  EXPECT_TRUE(itemNamed("rose")->isEqual(*itemNamed("rose")));
  EXPECT_EQ(itemNamed("rose")->hash(), itemNamed("rose")->hash());
  EXPECT_FALSE(itemNamed("rose")->isEqual(*itemNamed("lily")));
}

}  // namespace
}  // namespace foundation
