#include "Domain/CheckinError.h"

#include <gtest/gtest.h>

namespace domain {
namespace {

TEST(CheckinError, IsRenderedAsTypeAndCase) {
  EXPECT_EQ(CheckinError::alreadyExists().description(), "CheckinError.alreadyExists");
  EXPECT_EQ(CheckinError::notFound().description(), "CheckinError.notFound");
}

TEST(CheckinError, IsCaughtAsAnError) {
  try {
    throw CheckinError::notFound();
  } catch (const foundation::Error& error) {
    EXPECT_EQ(error.domain(), "CheckinError");
    EXPECT_EQ(error.code(), 1);
  }
}

TEST(CheckinError, StaysItselfWhenKeptAsAnError) {
  const std::shared_ptr<const foundation::Error> kept = CheckinError::alreadyExists().clone();

  EXPECT_THROW(kept->raise(), CheckinError);
}

}  // namespace
}  // namespace domain
