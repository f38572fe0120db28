#include "Foundation/Queues/GlobalQueue.h"

#include <gtest/gtest.h>

#include <latch>
#include <memory>
#include <stdexcept>
#include <utility>

#include "Foundation/Queues/MainQueue.h"
#include "Tests/Foundation/Queues/Outcome.h"

namespace foundation {
namespace {

TEST(GlobalQueue, RunsBlocksOffTheMainThread) {
  Outcome<bool> isMain;

  GlobalQueue::userInitiated().async([&] { isMain.give(MainQueue::isMainThread()); });

  EXPECT_FALSE(isMain.get());
}

TEST(GlobalQueue, GoesOnWhileBlocksWaitForEachOther) {
  // Shared: the last blocks may still be waking up when the test has ended.
  const auto together = std::make_shared<std::latch>(13);

  for (int number = 0; number < 12; ++number) {
    GlobalQueue::userInitiated().async([together] { together->arrive_and_wait(); });
  }

  together->arrive_and_wait();
}

TEST(GlobalQueue, TakesBlocksThatCanOnlyBeMoved) {
  Outcome<int> answer;

  GlobalQueue::userInitiated().async(
      [&, owned = std::make_unique<int>(42)] { answer.give(*owned); });

  EXPECT_EQ(answer.get(), 42);
}

TEST(GlobalQueue, DestroysWhatABlockCapturedAfterItRan) {
  Outcome<bool> destroyed;
  std::shared_ptr<void> captured(nullptr, [&](void*) { destroyed.give(true); });

  GlobalQueue::userInitiated().async([captured = std::move(captured)] {});

  EXPECT_TRUE(destroyed.get());
}

TEST(GlobalQueueDeathTest, StopsTheProcessWhenAnExceptionLeavesABlock) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        GlobalQueue::userInitiated().async([] { throw std::runtime_error("no light"); });
        std::latch(1).wait();
      },
      "Fatal error: an exception left an asynchronous block: no light\n");
}

TEST(GlobalQueueDeathTest, StopsTheProcessWhenSomethingElseLeavesABlock) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        GlobalQueue::userInitiated().async([] { throw 7; });
        std::latch(1).wait();
      },
      "Fatal error: an exception of an unknown kind left an asynchronous block\n");
}

}  // namespace
}  // namespace foundation
