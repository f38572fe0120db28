#include "Foundation/Queues/OperationQueue.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <atomic>
#include <latch>
#include <memory>
#include <numeric>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include "Foundation/Queues/MainQueue.h"
#include "Foundation/Values/WeakRef.h"
#include "Tests/Foundation/Queues/Outcome.h"

namespace foundation {
namespace {

Ref<OperationQueue> serialQueue() {
  auto queue = make<OperationQueue>();
  queue->setMaxConcurrentOperationCount(1);
  return queue;
}

TEST(OperationQueue, RunsOperationsInOrderWhenSerial) {
  const auto queue = serialQueue();
  std::vector<int> order;

  // Nothing guards the list: one operation ends before the next begins.
  for (int number = 0; number < 500; ++number) {
    queue->addOperation([&order, number] { order.push_back(number); });
  }
  queue->waitUntilAllOperationsAreFinished();

  std::vector<int> expected(500);
  std::iota(expected.begin(), expected.end(), 0);
  EXPECT_EQ(order, expected);
}

TEST(OperationQueue, NeverRunsAnOperationOnTheAddingThread) {
  const auto queue = serialQueue();
  Outcome<std::thread::id> direct;
  Outcome<bool> nested;
  std::atomic<bool> isAdding = false;
  std::atomic<bool> ranInline = false;

  queue->addOperation([&] {
    direct.give(std::this_thread::get_id());
    isAdding = true;
    queue->addOperation([&] {
      ranInline = isAdding.load();
      nested.give(true);
    });
    isAdding = false;
  });

  EXPECT_NE(direct.get(), std::this_thread::get_id());
  queue->waitUntilAllOperationsAreFinished();
  EXPECT_TRUE(nested.get());
  EXPECT_FALSE(ranInline);
}

TEST(OperationQueue, AddsWithoutWaitingForWhatRuns) {
  const auto queue = serialQueue();
  std::latch added(1);
  std::atomic<bool> ran = false;

  queue->addOperation([&] { added.wait(); });
  queue->addOperation([&] { ran = true; });
  EXPECT_FALSE(ran);
  added.count_down();

  queue->waitUntilAllOperationsAreFinished();
  EXPECT_TRUE(ran);
}

TEST(OperationQueue, DestroysWhatAnOperationCapturedBeforeTheNextBegins) {
  const auto queue = serialQueue();
  auto captured = std::make_shared<int>(0);
  const std::weak_ptr<int> watched = captured;
  std::atomic<bool> wasGone = false;

  queue->addOperation([captured = std::move(captured)] {});
  queue->addOperation([&] { wasGone = watched.expired(); });
  queue->waitUntilAllOperationsAreFinished();

  EXPECT_TRUE(wasGone);
}

TEST(OperationQueue, RunsAsManyAtATimeAsItMay) {
  const auto queue = make<OperationQueue>();
  queue->setMaxConcurrentOperationCount(4);
  std::latch together(4);

  // Ends only if all four run side by side.
  for (int number = 0; number < 4; ++number) {
    queue->addOperation([&] { together.arrive_and_wait(); });
  }

  queue->waitUntilAllOperationsAreFinished();
  EXPECT_TRUE(together.try_wait());
}

TEST(OperationQueue, NeverRunsMoreAtATimeThanItMay) {
  const auto queue = make<OperationQueue>();
  queue->setMaxConcurrentOperationCount(3);
  std::atomic<int> running = 0;
  std::atomic<int> most = 0;

  for (int number = 0; number < 200; ++number) {
    queue->addOperation([&] {
      const int now = ++running;
      int seen = most;
      while (now > seen && !most.compare_exchange_weak(seen, now)) {
      }
      std::this_thread::yield();
      --running;
    });
  }
  queue->waitUntilAllOperationsAreFinished();

  EXPECT_LE(most, 3);
}

TEST(OperationQueue, StartsWaitingOperationsWhenMoreMayRun) {
  const auto queue = serialQueue();
  std::latch together(2);
  for (int number = 0; number < 2; ++number) {
    queue->addOperation([&] { together.arrive_and_wait(); });
  }

  queue->setMaxConcurrentOperationCount(2);

  queue->waitUntilAllOperationsAreFinished();
  EXPECT_TRUE(together.try_wait());
}

TEST(OperationQueue, GoesOnInOrderWhenItIsMadeSerial) {
  const auto queue = make<OperationQueue>();
  queue->setMaxConcurrentOperationCount(2);
  std::latch together(2);
  for (int number = 0; number < 2; ++number) {
    queue->addOperation([&] { together.arrive_and_wait(); });
  }
  together.wait();

  queue->waitUntilAllOperationsAreFinished();
  queue->setMaxConcurrentOperationCount(1);
  std::vector<int> order;
  for (int number = 0; number < 50; ++number) {
    queue->addOperation([&order, number] { order.push_back(number); });
  }
  queue->waitUntilAllOperationsAreFinished();

  EXPECT_EQ(order.size(), 50U);
  EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST(OperationQueue, LetsItsOperationsFinishWhenItIsDestroyed) {
  auto queue = serialQueue();
  const WeakRef<OperationQueue> weak(queue);
  std::latch destroyed(1);
  Outcome<bool> last;

  queue->addOperation([&] { destroyed.wait(); });
  queue->addOperation([&] { last.give(true); });
  queue = nullptr;
  EXPECT_TRUE(weak.expired());
  destroyed.count_down();

  EXPECT_TRUE(last.get());
}

TEST(OperationQueue, GoesOnAfterItsOwnOperationDestroyedIt) {
  auto queue = serialQueue();
  std::latch ready(1);
  Outcome<bool> next;

  queue->addOperation([&ready, held = queue]() mutable {
    ready.wait();
    held = nullptr;
  });
  const WeakRef<OperationQueue> weak(queue);
  queue->addOperation([&] { next.give(weak.expired()); });
  queue = nullptr;
  ready.count_down();

  EXPECT_TRUE(next.get());
}

TEST(OperationQueue, BlocksTheProgramsSignalsOnItsThreads) {
  const auto queue = serialQueue();
  sigset_t blocked;

  queue->addOperation([&] { pthread_sigmask(SIG_SETMASK, nullptr, &blocked); });
  queue->waitUntilAllOperationsAreFinished();

  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGCHLD, SIGPIPE, SIGUSR1}) {
    EXPECT_EQ(sigismember(&blocked, signal), 1) << signal;
  }
  EXPECT_EQ(sigismember(&blocked, SIGSEGV), 0);
}

TEST(OperationQueue, LeavesTheSignalsOfTheAddingThreadAsTheyAre) {
  const auto queue = make<OperationQueue>();
  std::latch together(6);
  queue->setMaxConcurrentOperationCount(6);

  for (int number = 0; number < 6; ++number) {
    queue->addOperation([&] { together.arrive_and_wait(); });
  }
  queue->waitUntilAllOperationsAreFinished();

  sigset_t blocked;
  pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
  EXPECT_EQ(sigismember(&blocked, SIGTERM), 0);
}

TEST(MainOperationQueue, RunsOperationsOnTheMainThreadInOneOrderWithTheMainQueue) {
  std::vector<int> order;
  const auto main = std::this_thread::get_id();

  OperationQueue::main()->addOperation([&] {
    EXPECT_EQ(std::this_thread::get_id(), main);
    order.push_back(1);
  });
  MainQueue::async([&] { order.push_back(2); });
  OperationQueue::main()->addOperation([&] { order.push_back(3); });
  EXPECT_TRUE(order.empty());
  OperationQueue::main()->waitUntilAllOperationsAreFinished();

  EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

TEST(MainOperationQueue, StaysAtOneOperationAtATime) {
  OperationQueue::main()->setMaxConcurrentOperationCount(8);

  EXPECT_EQ(OperationQueue::main()->maxConcurrentOperationCount(), 1);
}

TEST(OperationQueueDeathTest, StopsTheProcessWhenAnExceptionLeavesAnOperation) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        const auto queue = serialQueue();
        queue->addOperation([] { throw std::runtime_error("no water"); });
        queue->waitUntilAllOperationsAreFinished();
      },
      "Fatal error: an exception left an asynchronous block: no water\n");
}

TEST(OperationQueueDeathTest, StopsTheProcessWhenAnOperationWaitsForItsOwnQueue) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        const auto queue = serialQueue();
        queue->addOperation([&] { queue->waitUntilAllOperationsAreFinished(); });
        queue->waitUntilAllOperationsAreFinished();
      },
      "Fatal error: an operation waits for its own queue to finish\n");
}

TEST(OperationQueueDeathTest, StopsTheProcessWhenNoOperationMayRun) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(make<OperationQueue>()->setMaxConcurrentOperationCount(0),
               "Fatal error: a queue runs at least one operation at a time\n");
}

}  // namespace
}  // namespace foundation
