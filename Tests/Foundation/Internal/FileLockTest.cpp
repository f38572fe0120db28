#include "Foundation/Internal/FileLock.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "Tests/Support/CrashRunner.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace foundation {
namespace {

using std::chrono::milliseconds;

class FileLockTest : public testing::Test {
 protected:
  [[nodiscard]] FileResult<FileLock> take(milliseconds limit) const {
    const std::string path = directory_.path() / "lock";
    auto file = FileDescriptor::open(AT_FDCWD, path.c_str(), O_RDWR | O_CREAT, 0600);
    if (!file) throw std::runtime_error("the file of the lock cannot be opened");
    return FileLock::take(*std::move(file), limit);
  }

  support::TemporaryDirectory directory_;
};

TEST_F(FileLockTest, HasOneHolderInAProcess) {
  const auto held = take(milliseconds(0));
  ASSERT_TRUE(held);

  EXPECT_EQ(take(milliseconds(0)).error(), EAGAIN);
}

TEST_F(FileLockTest, WaitsNoLongerThanAsked) {
  const auto held = take(milliseconds(0));
  ASSERT_TRUE(held);
  const auto start = std::chrono::steady_clock::now();

  EXPECT_EQ(take(milliseconds(20)).error(), EAGAIN);

  EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(20));
}

TEST_F(FileLockTest, IsTakenWhenItsHolderLetsGo) {
  std::optional<FileResult<FileLock>> held(take(milliseconds(0)));
  ASSERT_TRUE(held->has_value());

  bool isTaken = false;
  std::thread waiting([&] { isTaken = take(std::chrono::minutes(1)).has_value(); });
  held.reset();
  waiting.join();

  EXPECT_TRUE(isTaken);
}

TEST_F(FileLockTest, KeepsOtherProcessesOut) {
  const auto held = take(milliseconds(0));
  ASSERT_TRUE(held);

  const auto other = support::runInChild([&](const support::Acknowledgements& parent) {
    parent.send(take(milliseconds(0)) ? "taken" : "refused");
  });

  EXPECT_EQ(other.acknowledged, std::vector<std::string>{"refused"});
}

TEST_F(FileLockTest, GoesWithAProcessThatIsKilled) {
  const auto other = support::runInChild([&](const support::Acknowledgements& parent) {
    const auto held = take(milliseconds(0));
    if (!held) return;
    parent.send("taken");
    std::raise(SIGKILL);
  });
  ASSERT_TRUE(other.wasKilled());
  ASSERT_EQ(other.acknowledged, std::vector<std::string>{"taken"});

  EXPECT_TRUE(take(milliseconds(0)));
}

}  // namespace
}  // namespace foundation
