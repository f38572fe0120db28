#include "Foundation/Notifications/NSNotification.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>

namespace foundation {
namespace {

constexpr NSNotificationName kDidBloom{"Garden.didBloom"};

class Flower : public Object {};

TEST(NSNotification, HasNoObjectAndNoUserInfoUnlessGiven) {
  const NSNotification notification(kDidBloom);

  EXPECT_EQ(notification.name(), kDidBloom);
  EXPECT_EQ(notification.object(), nullptr);
  EXPECT_EQ(notification.userInfo(), nullptr);
  EXPECT_EQ(notification.userInfoValue("height"), nullptr);
}

TEST(NSNotification, GivesUserInfoByKey) {
  const NSNotification notification(
      kDidBloom, nullptr, std::make_shared<const ValueDictionary>(ValueDictionary{{"height", 12}}));

  ASSERT_NE(notification.userInfoValue("height"), nullptr);
  EXPECT_EQ(*notification.userInfoValue("height"), Value(12));
  EXPECT_EQ(notification.userInfoValue("width"), nullptr);
}

TEST(NSNotification, SharesItsUserInfoWithItsCopies) {
  const NSNotification original(kDidBloom, make<Flower>(),
                                std::make_shared<const ValueDictionary>());

  const NSNotification copy = original;  // NOLINT(performance-unnecessary-copy-initialization)

  EXPECT_EQ(copy.userInfo().get(), original.userInfo().get());
  EXPECT_EQ(copy.object(), original.object());
}

TEST(NSNotification, LeavesItsUserInfoToWhoeverKeepsIt) {
  NSNotification::UserInfo kept;

  {
    const auto plant = make<Flower>();
    const NSNotification notification(
        kDidBloom, nullptr,
        std::make_shared<const ValueDictionary>(ValueDictionary{{"plant", Value(plant)}}));
    kept = notification.userInfo();
  }

  ASSERT_NE(kept->at("plant").object(), nullptr);
  EXPECT_NE(dynamic_cast<Flower*>(kept->at("plant").object()), nullptr);
}

}  // namespace
}  // namespace foundation
