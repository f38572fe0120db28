#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "Foundation/Queues/MainQueue.h"
#include "Tests/Support/GardenStore.h"

namespace {

using coredata::NSManagedObjectContext;
using foundation::make;
using foundation::Ref;
using garden::Bed;
using garden::Plant;

TEST(ContextThreading, SavesFetchesAndMergesOnSeveralThreadsWithoutLosingARow) {
  constexpr std::size_t kThreads = 3;
  constexpr std::size_t kRounds = 40;
  garden::Store store;
  foundation::MainQueue::declareMainThread();
  const Ref<NSManagedObjectContext> view = store.container().viewContext();
  view->setAutomaticallyMergesChangesFromParent(true);
  const Ref<Bed> bed = make<Bed>(*view);
  view->save();
  const auto identifier = bed->objectID();
  std::atomic<std::size_t> running{kThreads};

  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      const auto context = store.newContext();
      for (std::size_t round = 0; round < kRounds; ++round) {
        context->performBlockAndWait([&] {
          auto plant = make<Plant>(*context);
          plant->setBed(
              coredata::properties::uncheckedCast<Bed>(context->objectWithID(*identifier)));
          context->save();
          const auto plants = context->fetch(Plant::fetchRequest());
          EXPECT_GT(plants.size(), round);
          EXPECT_NE(plants.first()->bed(), nullptr);
        });
      }
      --running;
    });
  }
  while (running > 0) {
    foundation::drainMainQueue();
    EXPECT_LE(bed->plants().count(), kThreads * kRounds);
  }
  for (std::thread& thread : threads) thread.join();
  foundation::drainMainQueue();

  EXPECT_EQ(bed->plants().count(), kThreads * kRounds);
  EXPECT_EQ(view->count(Plant::fetchRequest()), static_cast<std::int64_t>(kThreads * kRounds));
}

TEST(ContextThreading, LetsHandlesDieOnAnotherThread) {
  garden::Store store;
  const auto context = store.newContext();
  std::vector<Ref<Plant>> plants;
  context->performBlockAndWait([&] {
    for (int i = 0; i < 200; ++i) make<Plant>(*context)->setHeight(i);
    context->save();
    for (const Ref<Plant>& plant : context->fetch(Plant::fetchRequest())) plants.push_back(plant);
  });

  std::thread elsewhere([handles = std::move(plants)]() mutable { handles.clear(); });
  context->performBlockAndWait([&] {
    for (const Ref<Plant>& plant : context->fetch(Plant::fetchRequest()))
      EXPECT_GE(plant->height(), 0);
  });
  elsewhere.join();

  context->performBlockAndWait([&] { EXPECT_TRUE(context->registeredObjects().empty()); });
}

}  // namespace
