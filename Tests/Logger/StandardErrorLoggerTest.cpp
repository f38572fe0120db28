#include "Logger/StandardErrorLogger.h"

#include <gtest/gtest.h>

namespace logger {
namespace {

TEST(StandardErrorLogger, WritesAnErrorAsOneLine) {
  const foundation::Ref<Loggable> logger = foundation::make<StandardErrorLogger>();
  const foundation::Error error("Test", 7, "the lamp is out");

  testing::internal::CaptureStderr();
  logger->error(error);

  EXPECT_EQ(testing::internal::GetCapturedStderr(), error.description() + "\n");
}

}  // namespace
}  // namespace logger
