#include <future>
#include <stdexcept>
#include <thread>
#include <vector>

#include "Foundation/Queues/MainQueue.h"
#include "Tests/Support/GardenTest.h"

namespace {

using foundation::MainQueue;
using foundation::make;
using garden::Bed;
using garden::Plant;
using ContextQueues = garden::Test;
using ContextQueueDeathTest = garden::Test;

TEST_F(ContextQueues, RunBlocksInTheirOrderAndOnAnotherThread) {
  std::vector<int> order;
  bool wasElsewhere = true;
  const auto caller = std::this_thread::get_id();
  for (int i = 0; i < 50; ++i) {
    context->performBlock([&, i] {
      order.push_back(i);
      wasElsewhere = wasElsewhere && std::this_thread::get_id() != caller;
    });
  }
  settle();

  std::vector<int> expected(50);
  for (int i = 0; i < 50; ++i) expected[static_cast<std::size_t>(i)] = i;
  EXPECT_EQ(order, expected);
  EXPECT_TRUE(wasElsewhere);
}

TEST_F(ContextQueues, EnqueueABlockFromWithinABlock) {
  std::vector<int> order;
  context->performBlockAndWait([&] {
    context->performBlock([&] { order.push_back(2); });
    order.push_back(1);
  });
  settle();

  EXPECT_EQ(order, (std::vector{1, 2}));
}

TEST_F(ContextQueues, RunAWaitingBlockInPlaceInsideABlock) {
  std::vector<int> order;
  const int result = context->performBlockAndWait([&] {
    order.push_back(1);
    context->performBlockAndWait([&] { order.push_back(2); });
    order.push_back(3);
    return 4;
  });

  EXPECT_EQ(order, (std::vector{1, 2, 3}));
  EXPECT_EQ(result, 4);
}

TEST_F(ContextQueues, HandAnExceptionToWhoWaitsAndGoOn) {
  EXPECT_THROW(context->performBlockAndWait([] { throw std::runtime_error("frost"); }),
               std::runtime_error);

  EXPECT_EQ(context->performBlockAndWait([&] { return context->count(Bed::fetchRequest()); }), 0);
}

TEST_F(ContextQueueDeathTest, StopsTheProcessWhenAnExceptionLeavesABlockThatNobodyWaitsFor) {
  EXPECT_DEATH(
      {
        context->performBlock([] { throw std::runtime_error("frost"); });
        settle();
      },
      "frost");
}

TEST_F(ContextQueues, ProcessPendingChangesAfterEachBlock) {
  context->performBlockAndWait([&] {
    auto bed = make<Bed>(*context);
    make<Plant>(*context)->setBed(bed);
    context->save();
  });
  context->performBlockAndWait(
      [&] { context->delete_(context->fetch(Bed::fetchRequest()).first()); });

  EXPECT_EQ(context->deletedObjects().size(), 2U);
}

TEST_F(ContextQueues, OfTheViewContextRunOnTheMainThreadInItsTurn) {
  MainQueue::declareMainThread();
  const auto view = store.container().viewContext();
  const auto main = std::this_thread::get_id();
  bool wasOnMain = false;
  view->performBlock([&] { wasOnMain = std::this_thread::get_id() == main; });
  EXPECT_FALSE(wasOnMain);
  foundation::drainMainQueue();
  EXPECT_TRUE(wasOnMain);

  auto worker = std::async(std::launch::async, [&] {
    return view->performBlockAndWait([&] { return std::this_thread::get_id() == main; });
  });
  while (worker.wait_for(std::chrono::seconds(0)) != std::future_status::ready)
    foundation::drainMainQueue();
  EXPECT_TRUE(worker.get());
  EXPECT_TRUE(view->performBlockAndWait([&] { return std::this_thread::get_id() == main; }));
}

}  // namespace
