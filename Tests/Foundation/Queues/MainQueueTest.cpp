#include "Foundation/Queues/MainQueue.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <deque>
#include <latch>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "Foundation/Queues/Internal/MainQueueState.h"

namespace foundation {
namespace {

bool isReadable(int descriptor) {
  pollfd polled{descriptor, POLLIN, 0};
  return ::poll(&polled, 1, 0) == 1 && (polled.revents & POLLIN) != 0;
}

/// A worker may still watch a state when the test that used it has ended.
MainQueueState& longLivedState() {
  static auto& states = *new std::deque<MainQueueState>;
  return states.emplace_back();
}

TEST(MainQueue, TakesTheFirstThreadOfTheProcessForTheMainThread) {
  EXPECT_TRUE(MainQueue::isMainThread());
  std::jthread([] { EXPECT_FALSE(MainQueue::isMainThread()); });
}

TEST(MainQueue, TakesTheThreadThatDeclaresItselfForTheMainThread) {
  std::jthread([] {
    MainQueue::declareMainThread();
    EXPECT_TRUE(MainQueue::isMainThread());
    bool ran = false;
    MainQueue::async([&] { ran = true; });
    EXPECT_EQ(drainMainQueue(), 1U);
    EXPECT_TRUE(ran);
  }).join();

  EXPECT_FALSE(MainQueue::isMainThread());
  MainQueue::declareMainThread();
  EXPECT_TRUE(MainQueue::isMainThread());
}

TEST(MainQueue, RunsBlocksInOrderWhenDrained) {
  std::vector<int> order;
  for (int number = 0; number < 3; ++number) {
    MainQueue::async([&order, number] { order.push_back(number); });
  }
  EXPECT_TRUE(order.empty());

  EXPECT_EQ(drainMainQueue(), 3U);

  EXPECT_EQ(order, (std::vector<int>{0, 1, 2}));
}

TEST(MainQueue, DrainsBlocksThatComeMeanwhile) {
  bool ran = false;
  MainQueue::async([&] { MainQueue::async([&] { ran = true; }); });

  EXPECT_EQ(drainMainQueue(), 2U);

  EXPECT_TRUE(ran);
}

TEST(MainQueue, DrainsNothingWhenNothingWaits) { EXPECT_EQ(drainMainQueue(), 0U); }

TEST(MainQueue, RunsAWaitingBlockInPlaceOnTheMainThread) {
  bool ran = false;

  MainQueue::sync([&] { ran = true; });

  EXPECT_TRUE(ran);
}

TEST(MainQueue, RunsAWaitingBlockOfAnotherThreadOnTheMainThreadInItsTurn) {
  std::vector<int> order;
  const auto main = std::this_thread::get_id();
  MainQueue::async([&] { order.push_back(1); });

  std::jthread other([&] {
    MainQueue::sync([&] {
      EXPECT_EQ(std::this_thread::get_id(), main);
      order.push_back(2);
    });
    order.push_back(3);
    stopMainQueue();
  });
  runMainQueue();
  other.join();

  EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

TEST(MainQueue, HandsAnExceptionToTheThreadThatWaits) {
  std::jthread other([] {
    EXPECT_THROW(MainQueue::sync([] { throw std::runtime_error("frost"); }), std::runtime_error);
    stopMainQueue();
  });

  runMainQueue();
}

TEST(MainQueue, LetsAnExceptionOfABlockRunInPlaceThrough) {
  EXPECT_THROW(MainQueue::sync([] { throw std::runtime_error("frost"); }), std::runtime_error);
}

TEST(MainQueue, ReturnsFromItsLoopAfterTheBlockThatStopsIt) {
  bool ranLater = false;
  MainQueue::async([] { stopMainQueue(); });
  MainQueue::async([&] { ranLater = true; });

  runMainQueue();
  EXPECT_FALSE(ranLater);

  EXPECT_EQ(drainMainQueue(), 1U);
  EXPECT_TRUE(ranLater);
}

TEST(MainQueue, ReturnsAtOnceFromALoopThatWasStoppedBefore) {
  stopMainQueue();

  runMainQueue();
}

TEST(MainQueue, IsServedByAnotherLoopThroughItsDescriptor) {
  const int descriptor = MainQueue::eventDescriptor();
  EXPECT_FALSE(isReadable(descriptor));

  MainQueue::async([] {});
  MainQueue::async([] {});
  EXPECT_TRUE(isReadable(descriptor));

  EXPECT_EQ(drainMainQueue(), 2U);
  EXPECT_FALSE(isReadable(descriptor));
  EXPECT_EQ(MainQueue::eventDescriptor(), descriptor);
}

TEST(MainQueue, ClosesItsDescriptorWhenAProgramIsExecuted) {
  EXPECT_EQ(::fcntl(MainQueue::eventDescriptor(), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}

TEST(MainQueueState, GivesAReadableDescriptorWhenWorkWaitsAlready) {
  auto& state = longLivedState();
  state.enqueue([] {});

  EXPECT_TRUE(isReadable(state.eventDescriptor()));

  state.serve(false);
  EXPECT_FALSE(isReadable(state.eventDescriptor()));
  ::close(state.eventDescriptor());
}

TEST(MainQueueState, ReportsOnceThatWorkWaitsAndNobodyRunsIt) {
  auto& state = longLivedState();
  std::atomic<int> reports = 0;
  std::latch reported(1);
  state.watchForStarvation(std::chrono::milliseconds(1), [&] {
    if (++reports == 1) reported.count_down();
  });

  state.enqueue([] {});
  reported.wait();
  state.enqueue([] {});

  EXPECT_EQ(reports, 1);
  EXPECT_EQ(state.serve(false), 2U);
}

TEST(MainQueueState, ReportsAThreadThatWaitsForWorkThatNobodyRuns) {
  auto& state = longLivedState();
  std::latch reported(1);
  std::atomic<bool> ran = false;
  state.serve(false);
  state.watchForStarvation(std::chrono::milliseconds(1), [&] { reported.count_down(); });

  std::jthread other([&] { state.enqueueAndWait([&] { ran = true; }); });
  reported.wait();
  EXPECT_FALSE(ran);
  state.serve(false);
  other.join();

  EXPECT_TRUE(ran);
}

TEST(MainQueueState, ReportsNothingWhileABlockRuns) {
  auto& state = longLivedState();
  int reports = 0;
  state.enqueue([&] {
    state.watchForStarvation(std::chrono::nanoseconds(0), [&] { ++reports; });
    state.enqueue([] {});
    state.enqueue([] {});
  });

  EXPECT_EQ(state.serve(false), 3U);

  EXPECT_EQ(reports, 0);
}

TEST(MainQueueState, WritesALineForPeopleWhenNobodyRunsIt) {
  std::array<int, 2> ends{};
  ASSERT_EQ(::pipe(ends.data()), 0);
  const int errorStream = ::dup(STDERR_FILENO);
  ::dup2(ends[1], STDERR_FILENO);
  auto& state = longLivedState();
  state.watchForStarvation(std::chrono::milliseconds(1));

  state.enqueue([] {});
  std::array<char, 256> text{};
  const auto size = ::read(ends[0], text.data(), text.size());
  ::dup2(errorStream, STDERR_FILENO);
  for (const int end : {ends[0], ends[1], errorStream}) ::close(end);

  EXPECT_EQ(std::string(text.data(), static_cast<std::size_t>(size)),
            "The main queue has work that has been waiting for seconds, and nobody runs it: call "
            "runMainQueue() or drainMainQueue() on the main thread.\n");
}

TEST(MainQueueDeathTest, StopsTheProcessWhenABlockRunsTheQueue) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        MainQueue::async([] { drainMainQueue(); });
        drainMainQueue();
      },
      "Fatal error: a block of the main queue runs the main queue\n");
}

TEST(MainQueueDeathTest, StopsTheProcessWhenAnotherThreadRunsTheQueue) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(std::jthread([] { drainMainQueue(); }).join(),
               "Fatal error: the main queue runs on the main thread only\n");
}

}  // namespace
}  // namespace foundation
