#include "Foundation/Values/NSURL.h"

#include <gtest/gtest.h>

namespace foundation {
namespace {

TEST(NSURL, IsHeldByAValueAndFoundInIt) {
  const Value value = make<NSURL>(URL::fileURL("/a/b c"));

  const URL* url = NSURL::in(value);

  ASSERT_NE(url, nullptr);
  EXPECT_EQ(*url, URL::fileURL("/a/b c"));
  EXPECT_EQ(value.description(), "file:///a/b%20c");
}

TEST(NSURL, IsInNoOtherValue) {
  class Plant : public Object {};

  EXPECT_EQ(NSURL::in(Value()), nullptr);
  EXPECT_EQ(NSURL::in("file:///a"), nullptr);
  EXPECT_EQ(NSURL::in(make<Plant>()), nullptr);
}

TEST(NSURL, EqualsAnotherOneOfTheSameText) {
  const auto url = make<NSURL>(URL::fileURL("/a"));
  const auto same = make<NSURL>(URL::fileURL("/a"));

  EXPECT_TRUE(url->isEqual(*same));
  EXPECT_EQ(url->hash(), same->hash());
  EXPECT_FALSE(url->isEqual(*make<NSURL>(URL::fileURL("/a/"))));
}

}  // namespace
}  // namespace foundation
