#include "CoreDataStack/History/AppTarget.h"

#include <gtest/gtest.h>

#include <unordered_set>

namespace {

using coredatastack::AppTarget;

TEST(AppTarget, HasTwoCasesInOrder) {
  const auto cases = AppTarget::allCases();

  ASSERT_EQ(cases.size(), 2U);
  EXPECT_EQ(cases[0].rawValue(), "app");
  EXPECT_EQ(cases[1].rawValue(), "shareExtension");
}

TEST(AppTarget, IsMadeFromExactlyItsName) {
  EXPECT_EQ(AppTarget::withRawValue("app"), AppTarget::app);
  EXPECT_EQ(AppTarget::withRawValue("shareExtension"), AppTarget::shareExtension);
  for (const char* other : {"App", "APP", "shareextension", "app ", "", "share"}) {
    EXPECT_EQ(AppTarget::withRawValue(other), std::nullopt) << other;
  }
}

TEST(AppTarget, CanBeHashed) {
  const std::unordered_set<AppTarget> both{AppTarget::app, AppTarget::shareExtension,
                                           AppTarget::app};

  EXPECT_EQ(both.size(), 2U);
}

}  // namespace
