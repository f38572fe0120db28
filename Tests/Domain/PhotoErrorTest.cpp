#include "Domain/PhotoError.h"

#include <gtest/gtest.h>

namespace domain {
namespace {

TEST(PhotoError, IsRenderedAsTypeAndCase) {
  EXPECT_EQ(PhotoError::notFound().description(), "PhotoError.notFound");
}

TEST(PhotoError, IsOneValue) { EXPECT_EQ(PhotoError::notFound(), PhotoError::notFound()); }

}  // namespace
}  // namespace domain
