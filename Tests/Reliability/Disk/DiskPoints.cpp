#include "Tests/Reliability/Disk/DiskPoints.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "Tests/Support/Effort.h"
#include "Tests/Support/EnvironmentSetting.h"

namespace reliability {

namespace {
constexpr const char* kOnePoint = "DISK_POINT";
}

std::vector<std::size_t> diskPoints(std::size_t count, std::size_t quick, std::size_t full) {
  const std::size_t one = support::numberFrom(kOnePoint, 0);
  if (one != 0) return {one};
  return support::points(count, quick, full);
}

std::string repeatedBy(std::size_t point) {
  const auto& test = *testing::UnitTest::GetInstance()->current_test_info();
  return std::string(kOnePoint) + '=' + std::to_string(point) + " bin/" +
         program_invocation_short_name + " --gtest_filter=" + test.test_suite_name() + '.' +
         test.name();
}

}  // namespace reliability
