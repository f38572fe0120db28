#include "Foundation/Notifications/NSNotificationName.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "Foundation/Notifications/NSNotification.h"

namespace foundation {
namespace {

struct GardenNotificationName : NSNotificationName {
  static constexpr NSNotificationName GardenDidGrow{"Garden.didGrow"};
};

constinit const NSNotificationName kElsewhere{"Garden.didGrow"};

// Runs before main, and may run before any other constant of the program is made.
const std::size_t hashBeforeMain = GardenNotificationName::GardenDidGrow.hash();

TEST(NSNotificationName, KeepsItsText) {
  EXPECT_EQ(GardenNotificationName::GardenDidGrow.text(), "Garden.didGrow");
}

TEST(NSNotificationName, EqualsEveryNameOfTheSameText) {
  EXPECT_EQ(GardenNotificationName::GardenDidGrow, kElsewhere);
  EXPECT_EQ(std::hash<NSNotificationName>{}(kElsewhere),
            GardenNotificationName::GardenDidGrow.hash());
}

TEST(NSNotificationName, DiffersFromANameOfAnotherText) {
  EXPECT_NE(GardenNotificationName::GardenDidGrow, NSNotificationName("Garden.didgrow"));
}

TEST(NSNotificationName, MayBeUsedBeforeMain) { EXPECT_EQ(hashBeforeMain, kElsewhere.hash()); }

TEST(NSNotificationName, OutlivesTheTextItIsNamedBy) {
  std::string text = "Garden.didGrow";
  const auto name = NSNotificationName::named(text);

  text.assign(text.size(), '-');

  EXPECT_EQ(name, GardenNotificationName::GardenDidGrow);
}

TEST(NSNotificationName, KeepsATextOnlyOnce) {
  const auto first = NSNotificationName::named("Garden.didWither");
  const auto second = NSNotificationName::named(std::string("Garden.didWither"));

  EXPECT_EQ(first.text().data(), second.text().data());
}

TEST(NSNotificationName, IsTheNameTypeOfANotification) {
  EXPECT_TRUE((std::is_same_v<NSNotification::Name, NSNotificationName>));
}

}  // namespace
}  // namespace foundation
