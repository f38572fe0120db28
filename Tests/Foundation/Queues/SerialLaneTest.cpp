#include "Foundation/Queues/SerialLane.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <latch>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>
#include "Tests/Foundation/Queues/Outcome.h"

namespace foundation {
namespace {

void finish(SerialLane& lane) {
  lane.performAndWait([] {});
}

TEST(SerialLane, RunsAWaitingBlockOnTheCallingThread) {
  SerialLane lane;
  std::thread::id ranOn;

  lane.performAndWait([&] { ranOn = std::this_thread::get_id(); });

  EXPECT_EQ(ranOn, std::this_thread::get_id());
}

TEST(SerialLane, RunsOtherBlocksOnAnotherThread) {
  SerialLane lane;
  Outcome<std::thread::id> ranOn;

  lane.perform([&] { ranOn.give(std::this_thread::get_id()); });

  EXPECT_NE(ranOn.get(), std::this_thread::get_id());
}

TEST(SerialLane, KeepsTheOrderOfItsBlocks) {
  SerialLane lane;
  std::vector<int> order;

  for (int number = 0; number < 500; ++number) {
    lane.perform([&order, number] { order.push_back(number); });
  }
  finish(lane);

  EXPECT_EQ(order.size(), 500U);
  EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST(SerialLane, RunsAWaitingBlockAfterThoseThatCameBefore) {
  SerialLane lane;
  std::latch mayEnd(1);
  std::vector<int> order;
  lane.perform([&] {
    mayEnd.wait();
    order.push_back(1);
  });
  lane.perform([&] { order.push_back(2); });

  std::jthread opener([&] { mayEnd.count_down(); });
  lane.performAndWait([&] { order.push_back(3); });

  EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

TEST(SerialLane, RunsABlockOfInsideTheLaneAfterTheOneThatEnqueuesIt) {
  SerialLane lane;
  std::vector<int> order;

  lane.performAndWait([&] {
    lane.perform([&] { order.push_back(2); });
    order.push_back(1);
  });
  finish(lane);

  EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST(SerialLane, RunsAWaitingBlockInPlaceInsideAWaitingBlock) {
  SerialLane lane;
  std::vector<int> order;

  lane.performAndWait([&] {
    order.push_back(1);
    lane.performAndWait([&] { order.push_back(2); });
    EXPECT_TRUE(lane.isCurrent());
    order.push_back(3);
  });

  EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

TEST(SerialLane, RunsAWaitingBlockInPlaceInsideAnyBlock) {
  SerialLane lane;
  Outcome<bool> ran;

  lane.perform([&] {
    bool inner = false;
    lane.performAndWait([&] { inner = true; });
    ran.give(inner);
  });

  EXPECT_TRUE(ran.get());
}

TEST(SerialLane, KnowsWhoIsInside) {
  SerialLane lane;
  SerialLane other;
  EXPECT_FALSE(lane.isCurrent());

  lane.performAndWait([&] {
    EXPECT_TRUE(lane.isCurrent());
    EXPECT_FALSE(other.isCurrent());
    std::jthread([&] { EXPECT_FALSE(lane.isCurrent()); });
  });
  lane.perform([&] { EXPECT_TRUE(lane.isCurrent()); });
  finish(lane);

  EXPECT_FALSE(lane.isCurrent());
}

TEST(SerialLane, LetsAnExceptionOfAWaitingBlockThroughAndGoesOn) {
  SerialLane lane;

  EXPECT_THROW(lane.performAndWait([] { throw std::runtime_error("slugs"); }), std::runtime_error);

  EXPECT_FALSE(lane.isCurrent());
  bool ran = false;
  std::jthread([&] { lane.performAndWait([&] { ran = true; }); }).join();
  EXPECT_TRUE(ran);
}

TEST(SerialLane, StaysEnteredWhenAnExceptionLeavesAnInnerBlock) {
  SerialLane lane;

  lane.performAndWait([&] {
    EXPECT_THROW(lane.performAndWait([] { throw std::runtime_error("slugs"); }),
                 std::runtime_error);
    EXPECT_TRUE(lane.isCurrent());
  });
}

TEST(SerialLane, DestroysWhatABlockCapturedInsideTheLane) {
  SerialLane lane;
  Outcome<bool> wasInside;
  std::shared_ptr<void> captured(nullptr, [&](void*) { wasInside.give(lane.isCurrent()); });

  lane.perform([captured = std::move(captured)] {});

  EXPECT_TRUE(wasInside.get());
  finish(lane);
}

TEST(SerialLane, LetsOnlyOneBlockInAtATime) {
  SerialLane lane;
  constexpr int kRounds = 400;
  // Neither atomic nor guarded: the lane is what keeps the threads apart.
  int count = 0;

  std::vector<std::jthread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&, waits = thread % 2 == 0] {
      for (int round = 0; round < kRounds; ++round) {
        if (waits) {
          lane.performAndWait([&] { ++count; });
        } else {
          lane.perform([&] { ++count; });
        }
      }
    });
  }
  threads.clear();
  finish(lane);

  EXPECT_EQ(count, 4 * kRounds);
}

TEST(SerialLane, LetsItsBlocksFinishWhenItIsDestroyed) {
  auto lane = std::make_unique<SerialLane>();
  std::latch destroyed(1);
  Outcome<bool> last;
  lane->perform([&] { destroyed.wait(); });
  lane->perform([&] { last.give(true); });

  lane = nullptr;
  destroyed.count_down();

  EXPECT_TRUE(last.get());
}

TEST(SerialLane, MayBeDestroyedByItsOwnBlock) {
  auto lane = std::make_unique<SerialLane>();
  SerialLane& used = *lane;
  std::latch enqueued(1);
  Outcome<bool> last;

  used.perform([&, owned = std::move(lane)]() mutable {
    enqueued.wait();
    owned = nullptr;
  });
  used.perform([&] { last.give(true); });
  enqueued.count_down();

  EXPECT_TRUE(last.get());
}

TEST(SerialLane, WorksWithAnotherLaneInside) {
  SerialLane outer;
  SerialLane inner;
  Outcome<bool> isInBoth;

  outer.perform([&] {
    inner.performAndWait([&] { isInBoth.give(outer.isCurrent() && inner.isCurrent()); });
  });

  EXPECT_TRUE(isInBoth.get());
  finish(outer);
}

TEST(SerialLaneDeathTest, StopsTheProcessWhenAnExceptionLeavesABlockThatNobodyWaitsFor) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        SerialLane lane;
        lane.perform([] { throw std::runtime_error("moles"); });
        finish(lane);
      },
      "Fatal error: an exception left an asynchronous block: moles\n");
}

}  // namespace
}  // namespace foundation
