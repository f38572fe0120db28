#include "Foundation/Values/UUID.h"

#include <gtest/gtest.h>

#include <unordered_set>

namespace foundation {
namespace {

constexpr std::string_view kText = "E621E1F8-C36C-495A-93FC-0C247A3E6E5F";

TEST(UUID, IsARandomOneOfVersionFour) {
  const UUID identifier;

  EXPECT_EQ(identifier.bytes()[6] >> 4U, 4);
  EXPECT_EQ(identifier.bytes()[8] >> 6U, 2);
  EXPECT_NE(identifier, UUID());
}

TEST(UUID, WritesItselfInUpperCase) {
  const auto identifier = UUID::fromString("e621e1f8-c36c-495a-93fc-0c247a3e6e5f");

  ASSERT_TRUE(identifier);
  EXPECT_EQ(identifier->uuidString(), kText);
}

TEST(UUID, ParsesBothCases) {
  EXPECT_EQ(UUID::fromString(kText), UUID::fromString("e621e1f8-c36c-495a-93fc-0c247a3e6e5f"));
}

TEST(UUID, RefusesEveryOtherForm) {
  for (const std::string_view text :
       {"", "E621E1F8", "E621E1F8C36C495A93FC0C247A3E6E5F", "E621E1F8-C36C-495A-93FC-0C247A3E6E5",
        "E621E1F8-C36C-495A-93FC-0C247A3E6E5FF", "E621E1F8-C36C-495A-93FC-0C247A3E6E5G",
        "E621E1F8+C36C-495A-93FC-0C247A3E6E5F", "-621E1F8-C36C-495A-93FC-0C247A3E6E5F",
        "{621E1F8-C36C-495A-93FC-0C247A3E6E5}"}) {
    EXPECT_EQ(UUID::fromString(text), std::nullopt) << text;
  }
}

TEST(UUID, KnowsTheEmptyOne) {
  EXPECT_EQ(UUID::empty().uuidString(), "00000000-0000-0000-0000-000000000000");
  EXPECT_EQ(&UUID::empty(), &UUID::empty());
}

TEST(UUID, IsAKeyOfHashedSets) {
  const UUID one;
  const std::unordered_set<UUID> set{one, one, UUID::empty()};

  EXPECT_EQ(set.size(), 2U);
  EXPECT_TRUE(set.contains(one));
}

}  // namespace
}  // namespace foundation
